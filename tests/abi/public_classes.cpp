// For the compiler to describe, behind all public headers, which it is told to include. Where the library leaves
// operations to its user, a class of the test's own names them.

#include <memory>

#include "qel/core/serialization/json_serializable.h"
#include "qel/daemon/future_connection.h"
#include "qel/daemon/signal.h"
#include "qel/daemon/state_machine.h"
#include "qel/daemon/task.h"
#include "qel/daemon/timer.h"
#include "qel/daemon/watches.h"
#include "qel/ieee1905_1/autoconfiguration_tlvs.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/service_tlvs.h"

namespace {

struct SimpleWatch : qel::daemon::ISimpleFDWatch {
  void on_readable() override;
  void on_writable() override;
};

struct GenericWatch : qel::daemon::IGenericFDWatch {
  void on_readable() override;
  void on_writable() override;
  void on_aux_event_1() override;
  void on_aux_event_2() override;
};

struct JSONObject : qel::serialization::JSONSerializable {
  void serialize_impl(qel::serialization::YAJLStream&, qel::serialization::SerializationContext&) const override;
};

struct Continuation : qel::async::TaskContinuation {
  void operator()(qel::async::Task&) override;
};

struct TimerCallback : qel::time::TimerCallbackWrapperBase {
  void operator()() override;
};

struct Future : qel::async::FutureWrapperBase {
  bool is_ready() const override;
  void deliver() override;
};

struct ConcreteState : qel::state_machine::IState {
  const char* get_name() const override;
  std::unique_ptr<IState> take_transition() override;
};

}  // namespace

template class qel::signals::Slot<>;

// Instances that the headers only give names to, or none.
template <class... T>
constexpr bool are_complete = (sizeof(T) + ...) != 0;
namespace named = qel::ieee1905_1;
using named::MACAddressTLVCommon, named::TLVType;
static_assert(
    are_complete<MACAddressTLVCommon<TLVType::AL_MAC_ADDRESS>, MACAddressTLVCommon<TLVType::MAC_ADDRESS>,
                 MACAddressTLVCommon<TLVType::AP_RADIO_IDENTIFIER>, MACAddressTLVCommon<TLVType::STA_MAC_ADDRESS>,
                 named::SearchedRoleTLV, named::SupportedRoleTLV, named::AutoconfigFrequencyBandTLV,
                 named::SupportedFrequencyBandTLV, named::SupportedServiceTLV, named::SearchedServiceTLV>);
