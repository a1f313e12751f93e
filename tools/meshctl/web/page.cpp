#include "tools/meshctl/web/page.h"

#include <page_data.h>  // made by the build

#include <initializer_list>
#include <utility>

namespace meshctl::page {

namespace {

/// Replaces the marks of the page, each of which it has once.
std::string fill(std::initializer_list<std::pair<std::string_view, std::string>> contents) {
  std::string page(data::HTML);
  for (const auto& [mark, content] : contents) {
    page.replace(page.find(mark), mark.size(), content);
  }
  return page;
}

constexpr std::string_view POLICY = "<!-- policy -->";
constexpr std::string_view STYLE = "<!-- style -->";
constexpr std::string_view SCRIPT = "<!-- script -->";

/// In JSON, "<" stands in strings only. Escaped, it can neither end the element nor begin a comment (HTML Living
/// Standard, 4.12.1.3).
std::string for_element(std::string_view json) {
  std::string text;
  text.reserve(json.size());
  for (const char character : json) {
    character == '<' ? text += "\\u003c" : text += character;
  }
  return text;
}

std::string element(std::string_view head, std::string_view content, std::string_view tail) {
  return std::string(head).append(content).append(tail);
}

}  // namespace

const std::string& for_server() {
  static const std::string page = fill({{POLICY, ""},
                                        {STYLE, R"(<link rel="stylesheet" href="style.css">)"},
                                        {SCRIPT, R"(<script src="script.js"></script>)"}});
  return page;
}

std::string_view script() { return data::SCRIPT; }

std::string_view style() { return data::STYLE; }

std::string for_file(const Answers& answers) {
  const std::string policy = std::string("default-src 'none'; script-src 'sha256-") + data::SCRIPT_HASH +
                             "'; style-src 'sha256-" + data::STYLE_HASH +
                             "'; img-src data:; base-uri 'none'; form-action 'none'";
  std::string content;
  for (const auto& [kind, json] : answers) {
    content += element("<script id=\"" + kind + "\" type=\"application/json\">", for_element(json), "</script>\n");
  }
  content += element("<script>", data::SCRIPT, "</script>");
  return fill({{POLICY, element(R"(<meta http-equiv="Content-Security-Policy" content=")", policy, "\">")},
               {STYLE, element("<style>", data::STYLE, "</style>")},
               {SCRIPT, std::move(content)}});
}

}  // namespace meshctl::page
