// Writes log lines at each level. Here they go to standard error, in the background to the system log. In a program
// with a main loop, all of them also go into its log ring, which `meshctl log NAME` prints.

#include <ios>
#include <ostream>

#include "qel/daemon/log.h"

int main() {
  using qel::debug::LogLevels;
  using qel::debug::stream;

  stream("radio") << LogLevels::NOTE << "channel " << 36 << std::endl;
  stream("radio") << LogLevels::LOG << "register " << std::hex << std::showbase << 4660 << std::endl;
  stream("radio") << LogLevels::ERROR << "no beacon for " << 30 << " seconds" << std::endl;

  // Lines without a level are debug lines: they go only to the ring until the component is enabled.
  stream("radio") << "nobody sees this" << std::endl;
  qel::debug::enable("radio", true);
  stream("radio") << "but this" << std::endl;
}
