/*
 * Reads input files, with messages for those that cannot be read.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_INPUT_INPUT_H_
#define TVQ_HOST_CLI_INPUT_INPUT_H_

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/cli/output/console.h"

namespace tvq::cli {

// Input that cannot be used: what is wrong, and what to do about it.
class InputError : public std::runtime_error {
 public:
  InputError(const std::string& what, std::string hint)
      : std::runtime_error(what), mHint(std::move(hint)) {}
  const std::string& Hint() const { return mHint; }

 private:
  std::string mHint;
};

// A state that was never saved.
class NoStateError : public InputError {
 public:
  using InputError::InputError;
};

// Whether the error of a call says that its user may not do that.
bool IsDenied(int error);

// In a hint this stands for the command line as it was typed.
inline constexpr char kThisCommand[] = "{command}";
inline constexpr char kSudoHint[] = "only root may do that: `sudo {command}`";
// The hint with that command line in its place.
std::string WithCommand(std::string hint, const std::string& commandLine);

// The bytes of a file. Throws an InputError with the hint, or one that says to run as root where
// that is what is missing.
std::vector<uint8_t> ReadFile(const std::string& path, const std::string& hint);
// The same, and "-" is standard input.
std::vector<uint8_t> ReadInput(const std::string& path, const std::string& hint,
                               const Console& console);

// Whether an argument is a file, or looks like the path of one: others may be names.
bool NamesFile(const std::string& argument);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_INPUT_INPUT_H_
