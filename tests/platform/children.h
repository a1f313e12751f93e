#pragma once

// Child processes in tests.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/testing.h"

/// Runs a function in a child, which exits with the function's result, or with 1 if a test in it failed.
template <class Function>
pid_t start_child(Function function) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);  // in case the parent does not stop it
    const int status = function();
    _exit(testing::Test::HasFailure() ? 1 : status);
  }
  return child;
}

/// Waits until a child exits. Returns its exit status, or minus the signal that killed it.
inline int end_of(pid_t child) {
  int status = 0;
  if (waitpid(child, &status, 0) != child) {
    return -1000;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// A name that no other test run uses at the same time.
inline std::string unique_name(const std::string& stem) { return stem + std::to_string(getpid()); }
