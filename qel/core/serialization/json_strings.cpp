#include "qel/core/serialization/json_strings.h"

namespace qel::serialization {

namespace {

/// The letter after the backslash; NUL for a character that needs no escape.
char escape_letter(char character) {
  switch (character) {
    case '\n':
      return 'n';
    case '\b':
      return 'b';
    case '\t':
      return 't';
    case '\0':
      return '0';
    case '\r':
      return 'r';
    case '\f':
      return 'f';
    case '"':
    case '\\':
      return character;
    default:
      return '\0';
  }
}

/// The text for a backslash followed by this letter.
std::string escaped_text(char letter) {
  switch (letter) {
    case 'n':
      return "\n";
    case 'r':
      return "\r";
    case 't':
      return "\t";
    case 'b':
      return "\b";
    case 'f':
      return "\f";
    case 'u':
      return "\\u";
    case '0':
      return "";
    default:
      return {letter};
  }
}

}  // namespace

std::string json_string_escape(const std::string& text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (const char character : text) {
    if (const char letter = escape_letter(character); letter != '\0') {
      escaped += '\\';
      escaped += letter;
    } else {
      escaped += character;
    }
  }
  return escaped;
}

std::string json_string_unescape(const std::string& text) {
  std::string unescaped;
  unescaped.reserve(text.size());
  for (auto character = text.begin(); character != text.end(); ++character) {
    if (*character == '\\' && character + 1 != text.end()) {
      unescaped += escaped_text(*++character);
    } else {
      unescaped += *character;
    }
  }
  return unescaped;
}

}  // namespace qel::serialization
