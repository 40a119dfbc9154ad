/*
 * The command `tvq`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/process.h"

int main(int argc, char** argv) {
  return tvq::cli::RunProcess(argc, argv);
}
