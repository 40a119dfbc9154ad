/*
 * What a command takes: its options, and the arguments that stand by themselves.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/parameters.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace tvq::cli {

Parameter Parameter::Named(const std::string& value) const {
  mOption->type_name(value);
  return *this;
}

Parameter Parameter::Required() const {
  mOption->required();
  return *this;
}

Parameter Parameter::Needs(Parameter other) const {
  mOption->needs(other.mOption);
  return *this;
}

Parameter Parameter::Excludes(Parameter other) const {
  mOption->excludes(other.mOption);
  return *this;
}

Parameter Parameter::Checked(Judge judge) const {
  mOption->check(std::move(judge));
  return *this;
}

Parameter Parameter::Between(unsigned least, unsigned most) const {
  mOption->check(CLI::Range(least, most).description(""));
  return *this;
}

Parameter Parameters::Flag(const std::string& names, bool& isGiven, const std::string& help) const {
  return Parameter(mApp->add_flag(names, isGiven, help));
}

Parameter Parameters::Flag(const std::string& names, std::function<void()> action,
                           const std::string& help) const {
  return Parameter(mApp->add_flag_callback(names, std::move(action), help));
}

Parameter Parameters::Value(const std::string& names, std::string& value,
                            const std::string& help) const {
  return Parameter(mApp->add_option(names, value, help));
}

Parameter Parameters::Value(const std::string& names, std::optional<std::string>& value,
                            const std::string& help) const {
  return Parameter(mApp->add_option(names, value, help));
}

Parameter Parameters::Value(const std::string& names, std::uint32_t& value,
                            const std::string& help) const {
  return Parameter(mApp->add_option(names, value, help));
}

Parameter Parameters::Value(const std::string& names, std::uint64_t& value,
                            const std::string& help) const {
  return Parameter(mApp->add_option(names, value, help));
}

Parameter Parameters::Value(const std::string& names, std::optional<std::uint32_t>& value,
                            const std::string& help) const {
  return Parameter(mApp->add_option(names, value, help));
}

Parameter Parameters::Value(const std::string& names, const Take& take,
                            const std::string& help) const {
  return Parameter(mApp->add_option_function<std::string>(names, take, help));
}

Parameter Parameters::OneOf(const std::string& names, const std::vector<std::string>& words,
                            const Take& take, const std::string& help) const {
  std::string all;
  for (const std::string& word : words) {
    all += (all.empty() ? "" : "|") + word;
  }
  return Value(names, take, help)
      .Checked([words, all](const std::string& value) {
        const bool isKnown = std::find(words.begin(), words.end(), value) != words.end();
        return isKnown ? std::string() : "'" + value + "' is none of " + all;
      })
      .Named(all);
}

Parameter Parameters::Values(const std::string& name, std::vector<std::string>& values,
                             const std::string& help) const {
  return Parameter(mApp->add_option(name, values, help));
}

Parameter Parameters::List(const std::string& names, std::vector<std::string>& values,
                           const std::string& help) const {
  return Parameter(mApp->add_option(names, values, help)->delimiter(',')->allow_extra_args(false));
}

Parameter Parameters::Get(const std::string& name) const {
  return Parameter(mApp->get_option(name));
}

}  // namespace tvq::cli
