#include "tools/meshd/controller/policy.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <concepts>
#include <fstream>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "qel/channel/frequency.h"

namespace meshd::controller {

namespace {

using std::chrono::seconds;
using MACs = std::set<qel::MACAddress>;

constexpr std::string_view NONE = "none";  ///< the value of an empty list

/// Where a value is kept.
using Value = std::variant<bool*, std::uint8_t*, unsigned int*, seconds*, qel::ChannelWidth*, MACs*>;

/// A line of the file.
struct Row {
  std::string_view key;
  Value (*value)(Policy&);
  std::int64_t least;  ///< of a number, in the unit of the file
  std::int64_t most;
  std::string_view meaning;  ///< the comment in policy_text()
};

// The order is that of the file and of meshd-policy(5).
// clang-format off
constexpr auto ROWS = std::to_array<Row>({
    {"report.interval", [](Policy& p) -> Value { return &p.reporting.interval; }, 0, 255,
     "seconds between two reports of an agent; 0: none"},
    {"report.rcpi-threshold", [](Policy& p) -> Value { return &p.reporting.rcpi_threshold; }, 0, 220,
     "RCPI; a client that crosses it is reported at once; 0: none"},
    {"report.rcpi-hysteresis", [](Policy& p) -> Value { return &p.reporting.rcpi_hysteresis; }, 0, 220,
     "RCPI steps by which the threshold must be crossed"},
    {"report.utilization-threshold", [](Policy& p) -> Value { return &p.reporting.utilization_threshold; }, 0, 100,
     "percent; a channel that crosses it is reported at once; 0: none"},

    {"plan.on", [](Policy& p) -> Value { return &p.plan.is_on; }, 0, 0,
     "carry out channel plans without being asked"},
    {"plan.interval", [](Policy& p) -> Value { return &p.plan.interval; }, 10, 86400,
     "seconds between two plans"},
    {"plan.settle", [](Policy& p) -> Value { return &p.plan.settle; }, 0, 604800,
     "seconds that a radio stays on a channel at least"},
    {"plan.least-gain", [](Policy& p) -> Value { return &p.plan.least_gain; }, 0, 100,
     "percent of the cost of radios in range of each other; less is no reason to change"},
    {"plan.client-weight", [](Policy& p) -> Value { return &p.plan.client_weight; }, 0, 100,
     "percent of a radio's air time; what moving one of its clients costs"},
    {"plan.use-dfs", [](Policy& p) -> Value { return &p.plan.use_dfs; }, 0, 0,
     "use channels with radar detection that are known to be free"},
    {"plan.use-unchecked-dfs", [](Policy& p) -> Value { return &p.plan.use_unchecked_dfs; }, 0, 0,
     "use also those that must be checked first"},
    {"plan.widest-2.4-ghz", [](Policy& p) -> Value { return &p.plan.widest_2_4_ghz; }, 20, 40,
     "MHz; the widest channel at 2.4 GHz"},
    {"plan.widest-5-ghz", [](Policy& p) -> Value { return &p.plan.widest_5_ghz; }, 20, 160,
     "MHz; the widest channel at 5 GHz"},
    {"plan.widest-6-ghz", [](Policy& p) -> Value { return &p.plan.widest_6_ghz; }, 20, 160,
     "MHz; the widest channel at 6 GHz"},
    {"plan.excluded-radio", [](Policy& p) -> Value { return &p.plan.excluded_radios; }, 0, 0,
     "identifiers of radios that stay as they are"},

    {"steering.on", [](Policy& p) -> Value { return &p.steering.is_on; }, 0, 0,
     "ask clients to move without being asked"},
    {"steering.sticky-rcpi", [](Policy& p) -> Value { return &p.steering.sticky_rcpi; }, 0, 220,
     "RCPI; a client that is received worse may be asked"},
    {"steering.least-rcpi", [](Policy& p) -> Value { return &p.steering.least_rcpi; }, 0, 220,
     "RCPI at which a client must hear its target"},
    {"steering.margin", [](Policy& p) -> Value { return &p.steering.margin; }, 0, 220,
     "RCPI steps by which it must hear the target better"},
    {"steering.busy-utilization", [](Policy& p) -> Value { return &p.steering.busy_utilization; }, 0, 100,
     "percent; the clients of a channel that is busier may be asked"},
    {"steering.utilization-margin", [](Policy& p) -> Value { return &p.steering.utilization_margin; }, 0, 100,
     "percent by which the target's channel must be less busy"},
    {"steering.fresh", [](Policy& p) -> Value { return &p.steering.fresh; }, 1, 3600,
     "seconds; older facts are not acted upon"},
    {"steering.rest", [](Policy& p) -> Value { return &p.steering.rest; }, 0, 86400,
     "seconds that a client is left alone after it joined or was asked"},
    {"steering.back-off", [](Policy& p) -> Value { return &p.steering.back_off; }, 0, 604800,
     "seconds that it is left alone after a refusal, doubled with each further one"},
    {"steering.longest-back-off", [](Policy& p) -> Value { return &p.steering.longest_back_off; }, 0, 604800,
     "seconds; the longest that it is left alone"},
    {"steering.most-at-once", [](Policy& p) -> Value { return &p.steering.most_at_once; }, 1, 1000,
     "clients that are asked in one round at most, by up to 20 agents"},
    {"steering.excluded-client", [](Policy& p) -> Value { return &p.steering.excluded_clients; }, 0, 0,
     "addresses of clients that are never asked"},
});
// clang-format on

std::vector<std::string_view> words_of(std::string_view line) {
  constexpr std::string_view BLANKS = " \t\r";
  std::vector<std::string_view> words;
  line = line.substr(0, line.find('#'));
  for (std::size_t begin = 0; (begin = line.find_first_not_of(BLANKS, begin)) != line.npos;) {
    const std::size_t end = std::min(line.find_first_of(BLANKS, begin), line.size());
    words.push_back(line.substr(begin, end - begin));
    begin = end;
  }
  return words;
}

/// Explains to the caller why a line is refused.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::string quoted(std::string_view word) { return '\'' + std::string(word) + '\''; }

std::int64_t read_number(const Row& row, std::string_view word) {
  if (word.empty() || word.find_first_not_of("0123456789") != word.npos) {
    throw Refusal(quoted(word) + " is not a number");
  }
  std::int64_t number = 0;
  const bool fits = std::from_chars(word.data(), word.data() + word.size(), number).ec == std::errc();
  if (!fits || number < row.least || number > row.most) {
    throw Refusal(std::string(row.key) + " must be from " + std::to_string(row.least) + " to " +
                  std::to_string(row.most) + ", not " + std::string(word));
  }
  return number;
}

/// Reads the words of a line after the key.
class Reader {
 public:
  Reader(const Row& row, std::vector<std::string_view> words) : row_(row), words_(std::move(words)) {}

  void operator()(bool* value) const {
    const std::string_view word = only_word();
    if (word != "yes" && word != "no") {
      throw Refusal(quoted(word) + " is neither 'yes' nor 'no'");
    }
    *value = word == "yes";
  }

  template <std::unsigned_integral Number>
  void operator()(Number* value) const {
    *value = static_cast<Number>(read_number(row_, only_word()));
  }

  void operator()(seconds* value) const { *value = seconds(read_number(row_, only_word())); }

  void operator()(qel::ChannelWidth* value) const {
    const auto width = static_cast<long>(read_number(row_, only_word()));
    const qel::ChannelWidth found = qel::frequency_to_channel_width(qel::MHz(width));
    if (!is_valid(found) || qel::channel_width_to_frequency(found) != qel::MHz(width)) {
      throw Refusal(std::to_string(width) + " MHz is not the width of a channel");
    }
    *value = found;
  }

  /// Adds to the list.
  void operator()(MACs* value) const {
    if (words_ == std::vector{NONE}) {
      return;
    }
    for (const std::string_view word : words_) {
      qel::MACAddress address;
      if (!address.parse_string(std::string(word)) || !is_valid_individual_mac_address(address)) {
        throw Refusal(quoted(word) + " is not the address of a device");
      }
      if (!value->insert(address).second) {
        throw Refusal(std::string(word) + " is listed twice");
      }
    }
  }

 private:
  std::string_view only_word() const {
    if (words_.size() > 1) {
      throw Refusal(std::string(row_.key) + " has one value, but " + quoted(words_[1]) + " follows it");
    }
    return words_.front();
  }

  const Row& row_;
  std::vector<std::string_view> words_;
};

/// The values of a row as words; a list has one for each line.
class Writer {
 public:
  std::vector<std::string> operator()(const bool* value) const { return {*value ? "yes" : "no"}; }
  std::vector<std::string> operator()(const seconds* value) const { return {std::to_string(value->count())}; }
  template <std::unsigned_integral Number>
  std::vector<std::string> operator()(const Number* value) const {
    return {std::to_string(*value)};
  }
  std::vector<std::string> operator()(const qel::ChannelWidth* value) const {
    return {std::to_string(qel::channel_width_to_frequency(*value).value())};
  }
  std::vector<std::string> operator()(const MACs* value) const {
    std::vector<std::string> words;
    for (const qel::MACAddress& address : *value) {
      words.push_back(address.to_string());
    }
    return words.empty() ? std::vector{std::string(NONE)} : words;
  }
};

/// Reads the lines of a policy, one after the other.
class Parser {
 public:
  void read_line(std::string_view line) {
    ++line_;
    const std::vector<std::string_view> words = words_of(line);
    if (words.empty()) {
      return;
    }
    const auto row = std::ranges::find(ROWS, words.front(), &Row::key);
    if (row == ROWS.end()) {
      throw Refusal("unknown key " + quoted(words.front()));
    }
    if (words.size() == 1) {
      throw Refusal(std::string(row->key) + " has no value");
    }
    const Value value = row->value(policy_);
    std::size_t& given = given_[static_cast<std::size_t>(row - ROWS.begin())];
    if (given != 0 && !std::holds_alternative<MACs*>(value)) {
      throw Refusal(std::string(row->key) + " was already given in line " + std::to_string(given));
    }
    given = line_;
    std::visit(Reader(*row, {words.begin() + 1, words.end()}), value);
  }

  std::size_t line() const { return line_; }
  const Policy& policy() const { return policy_; }

 private:
  Policy policy_;
  std::size_t line_ = 0;
  std::array<std::size_t, ROWS.size()> given_{};  ///< line in which each row was given first; 0: not yet
};

}  // namespace

Policy parse_policy(std::string_view text) {
  Parser parser;
  try {
    while (!text.empty()) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      parser.read_line(text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
  } catch (const Refusal& refusal) {
    throw PolicyError("line " + std::to_string(parser.line()) + ": " + refusal.what());
  }
  return parser.policy();
}

Policy read_policy(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string text;
  for (std::string line; std::getline(file, line); text += '\n') {
    text += line;
  }
  if (!file.is_open() || file.bad()) {
    throw std::system_error(errno, std::generic_category(), path);
  }
  return parse_policy(text);
}

std::string policy_text(const Policy& policy) {
  constexpr std::size_t COMMENT_COLUMN = 40;
  Policy copy = policy;  // the rows lead to what can be written to
  std::string text =
      "# Policy of a Multi-AP controller, see meshd-policy(5).\n"
      "# RCPI is twice the power in dBm plus 220: 80 is -70 dBm.\n";
  std::string_view section;
  for (const Row& row : ROWS) {
    const std::string_view its_section = row.key.substr(0, row.key.find('.'));
    if (its_section != section) {
      text += '\n';
    }
    section = its_section;
    std::string comment = "# " + std::string(row.meaning);
    for (const std::string& word : std::visit(Writer(), row.value(copy))) {
      std::string line = std::string(row.key) + ' ' + word;
      if (!comment.empty()) {
        line.resize(std::max(line.size() + 1, COMMENT_COLUMN), ' ');
      }
      text += line + std::exchange(comment, {}) + '\n';
    }
  }
  return text;
}

}  // namespace meshd::controller
