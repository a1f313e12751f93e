#include "tools/meshctl/screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <ctime>

#include "tools/console.h"
#include "tools/text_table.h"

namespace meshctl {

namespace {

// Control sequences of ECMA-48, and DEC's private modes, which all terminals have.
constexpr std::string_view ENTER = "\033[?1049h\033[?25l\033[?7l";  // the second screen, no cursor, no wrapping
constexpr std::string_view LEAVE = "\033[?7h\033[?25h\033[?1049l";
constexpr std::string_view HOME = "\033[H";
constexpr std::string_view CLEAR_REST_OF_LINE = "\033[K";
constexpr std::string_view CLEAR_REST = "\033[J";

/// Those whose default action ends or stops the process, and that a terminal or a user sends.
constexpr int LEAVING[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGTSTP};

/// For handlers: at once, and whatever becomes of it.
void send(std::string_view sequence) {
  [[maybe_unused]] const ssize_t written = ::write(STDOUT_FILENO, sequence.data(), sequence.size());
}

void handle(int signal, void (*handler)(int), int flags) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigaction(signal, &action, nullptr);
}

/// The default action follows when the handler returns, which until then blocks the signal.
void leave(int signal) {
  send(LEAVE);
  raise(signal);
}

void enter() {
  for (const int signal : LEAVING) {
    handle(signal, leave, static_cast<int>(SA_RESETHAND));
  }
  send(ENTER);
}

}  // namespace

Screen::Screen() {
  // Both also interrupt wait().
  handle(
      SIGWINCH, [](int) {}, SA_RESTART);
  handle(
      SIGCONT, [](int) { enter(); }, SA_RESTART);
  enter();
}

Screen::~Screen() {
  for (const int signal : LEAVING) {
    handle(signal, SIG_DFL, 0);
  }
  handle(SIGWINCH, SIG_DFL, 0);
  handle(SIGCONT, SIG_DFL, 0);
  send(LEAVE);
}

void Screen::draw(std::string_view text) {
  winsize size{};
  ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
  std::string output(HOME);
  for (const char character : fit(text, size.ws_row, size.ws_col)) {
    if (character == '\n') {
      output += CLEAR_REST_OF_LINE;
    }
    output += character;
  }
  output += CLEAR_REST;
  tools::write_output(output);
  tools::flush_output();
}

void Screen::wait(std::chrono::milliseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  timespec rest{};
  rest.tv_sec = static_cast<std::time_t>(seconds.count());
  rest.tv_nsec = static_cast<long>(std::chrono::nanoseconds(time - seconds).count());
  nanosleep(&rest, nullptr);
}

std::string fit(std::string_view text, std::size_t rows, std::size_t columns) {
  const auto lines = static_cast<std::size_t>(std::ranges::count(text, '\n'));
  // The last row stays empty, because a line feed there would scroll.
  const std::size_t shown = rows == 0 || lines < rows ? lines : rows < 2 ? 0 : rows - 2;
  std::string result;
  for (std::size_t i = 0; i < shown; ++i) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size() + 1);
    while (columns != 0 && tools::count_characters(line) > columns) {
      line.remove_suffix(1);
    }
    result.append(line) += '\n';
  }
  if (shown < lines) {
    result += "... and " + std::to_string(lines - shown) + " more lines\n";
  }
  return result;
}

}  // namespace meshctl
