#include "qel/ieee1905_1/vendor/qel_btm_query_tlv.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/core/text.h"
#include "qel/daemon/log.h"
#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

void QELBTMQueryTLV::add_candidate(const QELNeighborReportElement& candidate) {
  if (candidate_list_.size() >= MAX_CANDIDATES) {
    debug::stream("QELBTMQueryTLV") << debug::LogLevels::ERROR
                                    << "Number of BSSTransitionCandidate in QELBTMQueryTLV exceeds limit of "
                                    << Decimal(MAX_CANDIDATES) << ". Element not added!" << std::endl;
    return;
  }
  candidate_list_.push_back(candidate);
}

void QELBTMQueryTLV::dbg_str(std::ostream& os) const {
  VendorPayload::dbg_str(os);
  os << " Candidates: " << Decimal(static_cast<std::int64_t>(candidate_list_.size()));
}

template const serialization::Codec& PayloadOf<QELBTMQueryTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::QELNeighborReportElement>::codec();
}  // namespace qel::serialization
