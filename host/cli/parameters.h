/*
 * What a command takes: its options, and the arguments that stand by themselves.
 *
 *     Parameters parameters = commands.Add(kText, ...);
 *     parameters.Value("-o,--output", options->output, "Where the result goes").Named("FILE");
 *     parameters.Flag("--json", options->json, "Print one JSON document");
 *
 * The library that reads command lines is behind it: its header alone takes seconds of every source that includes it.
 * Variables have to live until the command ran.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_PARAMETERS_H_
#define TVQ_HOST_CLI_PARAMETERS_H_

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tvq::cli {

// One of them, as it was added.
class Parameter {
 public:
  // Says what is wrong with a value; nothing where it is fine.
  using Judge = std::function<std::string(const std::string& value)>;

  explicit Parameter(CLI::Option* option) : mOption(option) {}

  // What stands for its value in the help; "" for an argument that says so itself.
  Parameter Named(const std::string& value) const;
  Parameter Required() const;
  Parameter Needs(Parameter other) const;
  Parameter Excludes(Parameter other) const;
  Parameter Checked(Judge judge) const;
  // Whole numbers.
  Parameter Between(unsigned least, unsigned most) const;

 private:
  CLI::Option* mOption;
};

// Those of one command. Names are separated by commas: "-o,--output"; without a hyphen it is an
// argument that stands by itself.
class Parameters {
 public:
  explicit Parameters(CLI::App& app) : mApp(&app) {}

  Parameter Flag(const std::string& names, bool& isGiven, const std::string& help) const;
  // Does something where the flag is given.
  Parameter Flag(const std::string& names, std::function<void()> action,
                 const std::string& help) const;

  Parameter Value(const std::string& names, std::string& value, const std::string& help) const;
  Parameter Value(const std::string& names, std::optional<std::string>& value,
                  const std::string& help) const;
  Parameter Value(const std::string& names, std::uint32_t& value, const std::string& help) const;
  Parameter Value(const std::string& names, std::uint64_t& value, const std::string& help) const;
  Parameter Value(const std::string& names, std::optional<std::uint32_t>& value,
                  const std::string& help) const;
  // Hands the value over.
  using Take = std::function<void(const std::string& value)>;
  Parameter Value(const std::string& names, const Take& take, const std::string& help) const;
  // One of a few words.
  template <typename Choice>
  Parameter Value(const std::string& names, Choice& value,
                  const std::map<std::string, Choice>& words, const std::string& help) const {
    std::vector<std::string> all;
    all.reserve(words.size());
    for (const auto& word : words) {
      all.push_back(word.first);
    }
    return OneOf(
        names, all, [&value, words](const std::string& word) { value = words.at(word); }, help);
  }

  // One or more arguments.
  Parameter Values(const std::string& name, std::vector<std::string>& values,
                   const std::string& help) const;
  // An option that may be given several times, and several values with commas between them.
  Parameter List(const std::string& names, std::vector<std::string>& values,
                 const std::string& help) const;

  // The one of this name, which was added before.
  Parameter Get(const std::string& name) const;

 private:
  Parameter OneOf(const std::string& names, const std::vector<std::string>& words, const Take& take,
                  const std::string& help) const;

  CLI::App* mApp;
};

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_PARAMETERS_H_
