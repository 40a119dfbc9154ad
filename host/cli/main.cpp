/*
 * The command `tvq`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fcntl.h>
#include <unistd.h>

#include <exception>
#include <iostream>
#include <new>

#include "host/cli/command_line.h"

namespace {

// What is opened later must not take the number of a standard descriptor that was closed: a worker's
// socket would get what is printed. Reading and writing still fail, as they do where it is closed.
bool HoldStandardDescriptors() {
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    const int useless = standard == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (fcntl(standard, F_GETFD) < 0 && open("/dev/null", useless) != standard) {
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (!HoldStandardDescriptors()) {
    return 2;
  }
  tvq::cli::Console console{std::cin,
                            std::cout,
                            std::cerr,
                            tvq::cli::StandardTerminal(),
                            false,
                            false,
                            isatty(STDERR_FILENO) != 0};
  try {
    const int status = tvq::cli::RunCommandLine(argc, argv, console);
    std::cout.flush();
    if (!std::cout) {
      console.Error("the output cannot be written");
      return 2;
    }
    return status;
  } catch (const std::bad_alloc&) {
    console.Error("there is not enough memory for this");
    return 2;
  } catch (const std::exception& error) {
    console.Error(error.what());
    return 2;
  }
}
