#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The page with the map of the mesh, built into the program from the files in tools/meshctl/web/page/.
namespace meshctl::page {

/// The page as a server gives it out, beside /script.js and /style.css. It follows the event stream /events.
const std::string& for_server();
std::string_view script();
std::string_view style();

/// What the page shows in place of a server's messages: the kind of a message and its JSON.
using Answers = std::vector<std::pair<std::string, std::string>>;

/// The page as one file, with the answers inside. Its policy admits no other script and no request.
std::string for_file(const Answers& answers);

}  // namespace meshctl::page
