/*
 * The command `tvq`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <exception>
#include <iostream>

#include "host/cli/command_line.h"

int main(int argc, char** argv) {
  try {
    const int status = tvq::cli::RunCommandLine(argc, argv, std::cout, std::cerr);
    std::cout.flush();
    if (!std::cout) {
      std::cerr << "tvq: error: the output cannot be written\n";
      return 2;
    }
    return status;
  } catch (const std::exception& error) {
    std::cerr << "tvq: error: " << error.what() << '\n';
    return 2;
  }
}
