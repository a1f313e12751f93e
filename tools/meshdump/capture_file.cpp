#include "tools/meshdump/capture_file.h"

#include <pcap/pcap.h>

#include <array>
#include <stdexcept>

#include "tools/meshdump/input.h"

namespace meshdump {

namespace {

constexpr unsigned char GZIP_MAGIC = 0x1F;  // first octet; no capture begins with it

/// pcap_fopen_offline reports the octets that it found, which does not help someone with a compressed file.
void refuse_compressed(const std::string& path, std::FILE* file) {
  const int first = std::getc(file);
  if (first == GZIP_MAGIC) {
    throw input_error(path, "compressed; try zcat FILE | meshdump -");
  }
  if (first != EOF) {
    std::ungetc(first, file);
  }
}

}  // namespace

CaptureFile::CaptureFile(const std::string& path, const std::string& filter) : path_(path) {
  File file = open_input(path);
  refuse_compressed(path, file.get());
  std::array<char, PCAP_ERRBUF_SIZE> error{};
  capture_.reset(pcap_fopen_offline(file.get(), error.data()));
  if (capture_ == nullptr) {
    throw input_error(path, error.data());
  }
  static_cast<void>(file.release());  // the capture now closes it
  try {
    link_type_ = link_type_of(capture_.get());
    if (!filter.empty()) {
      set_filter(capture_.get(), filter);
    }
  } catch (const std::runtime_error& exception) {
    throw input_error(path, exception.what());
  }
}

bool CaptureFile::reads(const std::string& path) const { return is_same_file(pcap_file(capture_.get()), path); }

std::optional<CapturedFrame> CaptureFile::next() {
  pcap_pkthdr* header = nullptr;
  const u_char* octets = nullptr;
  const int status = pcap_next_ex(capture_.get(), &header, &octets);
  if (status == PCAP_ERROR_BREAK) {
    return std::nullopt;
  }
  if (status != 1) {
    throw input_error(path_, std::string(pcap_geterr(capture_.get())) + " after frame " + std::to_string(count_));
  }
  return captured_frame(*header, octets, link_type_, path_, ++count_);
}

}  // namespace meshdump
