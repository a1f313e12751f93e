#pragma once

#include <string>
#include <string_view>

/// The page with the map of the mesh, built into the program from the files in tools/meshctl/web/page/.
namespace meshctl::page {

/// The page as a server gives it out, beside /script.js and /style.css. It follows the event stream /events.
const std::string& for_server();
std::string_view script();
std::string_view style();

/// The page as one file, with the topology inside; `topology` is JSON. Its policy admits no other script and no
/// request.
std::string for_file(std::string_view topology);

}  // namespace meshctl::page
