/*
 * The program that builds the samples.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <iostream>

#include "host/table/build_sample.h"

int main(int argc, char** argv) {
  return tvq::table::BuildSample(argc, argv, std::cerr);
}
