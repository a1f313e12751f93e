#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

#include "qel/core/export.h"

struct shringbuf;

/// Logging. A component writes a level, the text and std::endl to its stream:
///
///     qel::debug::stream("topology") << qel::debug::LogLevels::ERROR << "no answer from " << mac << std::endl;
///
/// Each flush ends a line. The line goes to the platform's message function for its level and, as "component: text", to
/// the ring buffer if one is set. The next line starts with level DEBUG and default formatting: std::hex and the like
/// apply to a single line. For use on the main loop's thread only.
namespace qel::debug {

/// Selects the message function of a line: debugmsg() for DEBUG, errmsg() for ERROR, infomsg() for the others.
enum class LogLevels : int { NOTE = 0, DEBUG = 1, LOG = 2, ERROR = 3 };

/// Returns "INVALID_LOG_LEVEL" for a value without a name.
QEL_EXPORT std::string loglevels_to_string(LogLevels level);

/// The text must match exactly; any other text throws std::out_of_range with "map::at".
QEL_EXPORT LogLevels string_to_loglevels(const std::string& text);

/// Sets the level of the current line of a log stream; on any other stream, prints the level.
QEL_EXPORT std::ostream& operator<<(std::ostream& os, LogLevels level);

/// Returns the stream of a component, created by the first call and kept for the life of the process. Its lines have
/// level DEBUG unless another is set. A failure state left by an earlier line is cleared.
QEL_EXPORT std::ostream& stream(std::string_view component);

/// Sets whether the platform shows the component's DEBUG lines.
QEL_EXPORT void enable(const std::string& component, bool enabled);

///@{
/// These two settings are only stored for callers to query; they do not filter output.
QEL_EXPORT void set_log_level(LogLevels level);
QEL_EXPORT LogLevels get_log_level();
QEL_EXPORT void set_log_all_debugs(bool all);
QEL_EXPORT bool get_log_all_debugs();
///@}

/// Marks the ring as finished and frees it (shringbuf.h).
struct QEL_EXPORT shringbuf_deleter {
  void operator()(shringbuf* ring) const;
};

/// Replaces and frees the previous ring; null stops the copying. At process exit the current ring is freed; later lines
/// still go to the message functions.
QEL_EXPORT void set_shringbuf(std::unique_ptr<shringbuf, shringbuf_deleter> ring);
/// Returns null if no ring is set.
QEL_EXPORT shringbuf* get_shringbuf();

}  // namespace qel::debug
