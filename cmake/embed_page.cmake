# Makes page_data.h of a folder: page.html, style.css, and the scripts as one, in their order. Each script is a module
# whose imports are all from the scripts before it, so in one script they need neither import nor export.
#
#   cmake -D FOLDER=... -D OUTPUT=... -D "SCRIPTS=a.js b.js" -P embed_page.cmake

# base64_sha256(TEXT RESULT): the SHA-256 of the text as a policy names it (RFC 4648, 4).
function(base64_sha256 text result)
  set(digits "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
  string(SHA256 hash "${text}")
  set(base64 "")
  # 32 octets are ten groups of three and a rest of two, which gives three digits.
  foreach(group RANGE 0 10)
    math(EXPR at "6 * ${group}")
    string(SUBSTRING "${hash}00" ${at} 6 octets)
    foreach(shift 18 12 6 0)
      math(EXPR digit "(0x${octets} >> ${shift}) & 63")
      string(SUBSTRING "${digits}" ${digit} 1 character)
      string(APPEND base64 "${character}")
    endforeach()
  endforeach()
  string(SUBSTRING "${base64}" 0 43 base64)
  set(${result} "${base64}=" PARENT_SCOPE)
endfunction()

# definition(NAME TEXT RESULT): of a constant in C++, octet by octet: string literals have a limit.
function(definition name text result)
  file(WRITE "${OUTPUT}.part" "${text}")
  file(READ "${OUTPUT}.part" octets HEX)
  file(REMOVE "${OUTPUT}.part")
  string(LENGTH "${octets}" length)
  math(EXPR length "${length} / 2")
  string(REGEX REPLACE "(................................)" "\\1\n" octets "${octets}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," octets "${octets}")
  set(${result} "inline constexpr char ${name}_OCTETS[] = {\n${octets}};\ninline constexpr std::string_view ${name}{${name}_OCTETS, ${length}};\n" PARENT_SCOPE)
endfunction()

file(READ ${FOLDER}/page.html html)
file(READ ${FOLDER}/style.css style)
set(script "")
string(REPLACE " " ";" SCRIPTS "${SCRIPTS}")
foreach(file IN LISTS SCRIPTS)
  file(READ ${FOLDER}/${file} text)
  if(text MATCHES "</script|<!--")
    message(FATAL_ERROR "${file} cannot be part of a page: it contains ${CMAKE_MATCH_0}")
  endif()
  string(REGEX REPLACE "(^|\n)import [^\n]*;" "\\1" text "${text}")
  string(REGEX REPLACE "(^|\n)export " "\\1" text "${text}")
  string(APPEND script "${text}")
endforeach()

definition(HTML "${html}" html_definition)
definition(STYLE "${style}" style_definition)
definition(SCRIPT "${script}" script_definition)
base64_sha256("${style}" style_hash)
base64_sha256("${script}" script_hash)
file(WRITE ${OUTPUT} "// Made by embed_page.cmake.
#pragma once

#include <string_view>

namespace meshctl::page::data {

${html_definition}${style_definition}${script_definition}inline constexpr const char* STYLE_HASH = \"${style_hash}\";
inline constexpr const char* SCRIPT_HASH = \"${script_hash}\";

}  // namespace meshctl::page::data
")
