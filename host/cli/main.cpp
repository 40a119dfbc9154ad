/*
 * The command `tvq`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <unistd.h>

#include <exception>
#include <iostream>
#include <new>

#include "host/cli/command_line.h"

int main(int argc, char** argv) {
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
