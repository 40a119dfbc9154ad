/*
 * What `tvq` does as a process of its own, whatever the command.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <exception>
#include <iostream>
#include <new>

#include "host/cli/command.h"
#include "host/cli/command_line.h"

namespace tvq::cli {

bool HoldStandardDescriptors() {
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    const int useless = standard == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (fcntl(standard, F_GETFD) < 0 && open("/dev/null", useless) != standard) {
      return false;
    }
  }
  return true;
}

Console StandardConsole() {
  Console console{std::cin, std::cout, std::cerr, StandardTerminal()};
  console.hasProgress = isatty(STDERR_FILENO) != 0;
  return console;
}

int RunGuarded(const Console& console, const std::function<int()>& command) {
  try {
    const int status = command();
    if (!console.out.flush().fail()) {
      return status;
    }
    console.Error("the output cannot be written");
  } catch (const std::bad_alloc&) {
    console.Error("there is not enough memory for this");
  } catch (const std::exception& error) {
    console.Error(error.what());
  }
  return kExitTrouble;
}

int RunProcess(int argc, const char* const* argv) {
  if (!HoldStandardDescriptors()) {
    return kExitTrouble;
  }
  Console console = StandardConsole();
  return RunGuarded(console, [&] { return RunCommandLine(argc, argv, console); });
}

}  // namespace tvq::cli
