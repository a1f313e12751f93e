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
/// Each flush ends a line: it goes to the platform's message functions by its level, and as "component: text" into the
/// ring buffer when one is set. The next line begins with the level DEBUG and the format of a fresh stream: std::hex
/// and the like count for one line. For the one thread of the main loop.
namespace qel::debug {

/// Chooses the message function of a line: debugmsg() for DEBUG, errmsg() for ERROR, infomsg() for the others.
enum class LogLevels : int { NOTE = 0, DEBUG = 1, LOG = 2, ERROR = 3 };

/// "INVALID_LOG_LEVEL" for a value without a name.
QEL_EXPORT std::string loglevels_to_string(LogLevels level);

/// Matches exactly; throws std::out_of_range with "map::at" for any other text.
QEL_EXPORT LogLevels string_to_loglevels(const std::string& text);

/// Sets the level of the current line of a log stream; prints the level on any other stream.
QEL_EXPORT std::ostream& operator<<(std::ostream& os, LogLevels level);

/// The stream of a component, made by the first call and kept for the life of the process. Its lines are of level DEBUG
/// until they say otherwise. A failed state that an earlier line left behind is cleared.
QEL_EXPORT std::ostream& stream(std::string_view component);

/// Whether the DEBUG lines of a component are shown by the platform.
QEL_EXPORT void enable(const std::string& component, bool enabled);

///@{
/// The two settings are kept for whoever asks; they do not choose what is emitted.
QEL_EXPORT void set_log_level(LogLevels level);
QEL_EXPORT LogLevels get_log_level();
QEL_EXPORT void set_log_all_debugs(bool all);
QEL_EXPORT bool get_log_all_debugs();
///@}

/// Marks the ring as finished and frees it (shringbuf.h).
struct QEL_EXPORT shringbuf_deleter {
  void operator()(shringbuf* ring) const;
};

/// Frees the ring set before; a null pointer ends the copying. At process exit the last one is freed, after which lines
/// still go to the message functions.
QEL_EXPORT void set_shringbuf(std::unique_ptr<shringbuf, shringbuf_deleter> ring);
/// Null when none is set.
QEL_EXPORT shringbuf* get_shringbuf();

}  // namespace qel::debug
