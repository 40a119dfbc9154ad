/*
 * `tvq mktable`: an SMBIOS table from its readable source form, and back.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/mktable_command.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include "host/cli/input.h"
#include "host/table/dump.h"
#include "host/table/layout.h"
#include "host/table/source.h"
#include "host/table/text.h"

namespace tvq::cli {
namespace {

using table::Bytes;
using table::Result;
using table::Table;

constexpr char kHelp[] =
    "Builds an SMBIOS table from its readable source form, or turns a table into that form.";
constexpr char kFooter[] =
    "Examples:\n"
    "  tvq mktable samples/two-socket.smbios -o two-socket.bin\n"
    "  dmidecode --from-dump two-socket.bin\n"
    "  tvq mktable --from-dump two-socket.bin\n"
    "  dmidecode -u | tvq mktable --from-dump -\n"
    "  tvq mktable --fields processor\n"
    "FILE may be '-' for standard input and output. Exit status: 0 the result was written; 2 it\n"
    "was not.";
constexpr char kSourceHint[] = "`tvq mktable --from-dump FILE` makes a source to start from";
constexpr char kDumpHint[] =
    "a table is captured with `dmidecode --dump-bin FILE`; a bare structure table will do as well";

constexpr int kSuccess = 0;
constexpr int kTrouble = 2;

struct MktableOptions {
  std::string source;
  std::string dump;
  std::string output;
  std::string fields;
};

Bytes ReadInput(const std::string& path, const std::string& hint) {
  if (path == "-") {
    return {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
  }
  return ReadFile(path, hint);
}

std::string_view AsText(const Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The result of the command, for `output`; a failure carries the line of the input.
Result<std::string> BuildDump(const Bytes& source) {
  const auto table = table::ParseSource(AsText(source));
  if (!table) {
    return table.Failure();
  }
  const auto dump = table::WriteDump(*table);
  if (!dump) {
    return dump.Failure();
  }
  return std::string(AsText(*dump));
}

Result<std::string> BuildSource(const Bytes& file) {
  const auto table =
      table::IsHexText(file) ? table::ReadHexText(AsText(file)) : table::ReadDump(file);
  if (!table) {
    return table.Failure();
  }
  return table::FormatSource(*table);
}

std::string ListTypes() {
  std::string text;
  for (const table::Layout& layout : table::Layouts()) {
    text += fmt::format("{:3}  {}\n", layout.type, layout.name);
  }
  return text;
}

Result<std::string> ListFields(const std::string& type) {
  if (type == "all") {
    return ListTypes();
  }
  const table::Layout* layout = table::FindLayout(type);
  if (layout == nullptr) {
    return table::Error{fmt::format("there is no type of structure named '{}'", type),
                        "`tvq mktable --fields all` lists them"};
  }
  std::string text = fmt::format("type {}\n", layout->type);
  for (const table::Field& field : layout->fields) {
    text +=
        fmt::format("  {:02X}h  {:26}  {:16}  {}.{}\n", field.offset, field.name,
                    table::NameOf(field.kind), field.since.majorNumber, field.since.minorNumber);
  }
  if (!layout->group.name.empty()) {
    text += fmt::format("  {:02X}h  {:26} ", layout->group.offset, layout->group.name);
    for (const table::FieldKind part : layout->group.parts) {
      text += fmt::format(" {}", table::NameOf(part));
    }
    text += "; repeats\n";
  }
  return text;
}

void WriteOutput(const std::string& path, const std::string& result, std::ostream& out) {
  if (path.empty() || path == "-") {
    out << result;
    return;
  }
  std::ofstream file(path, std::ios::binary);
  file << result;
  if (!file.flush()) {
    throw InputError(fmt::format("cannot write {}: {}", path, std::strerror(errno)),
                     "name a file in a folder that you may write to");
  }
}

int ReportFailure(const std::string& path, const table::Error& error, std::ostream& diagnostics) {
  diagnostics << "tvq: error: ";
  if (!path.empty()) {
    diagnostics << path << ':';
    if (error.line != 0) {
      diagnostics << error.line << ':';
    }
    diagnostics << ' ';
  }
  diagnostics << error.message << '\n';
  if (!error.hint.empty()) {
    diagnostics << "tvq: hint: " << error.hint << '\n';
  }
  return kTrouble;
}

Result<std::string> Produce(const MktableOptions& options) {
  if (!options.fields.empty()) {
    return ListFields(options.fields);
  }
  return options.dump.empty() ? BuildDump(ReadInput(options.source, kSourceHint))
                              : BuildSource(ReadInput(options.dump, kDumpHint));
}

int Mktable(const MktableOptions& options, std::ostream& out, std::ostream& diagnostics) {
  const std::string& input = options.dump.empty() ? options.source : options.dump;
  try {
    const auto result = Produce(options);
    if (!result) {
      return ReportFailure(input, result.Failure(), diagnostics);
    }
    WriteOutput(options.output, *result, out);
  } catch (const InputError& error) {
    return ReportFailure("", {error.what(), error.Hint()}, diagnostics);
  }
  return kSuccess;
}

void RequireOneTask(const MktableOptions& options) {
  const int tasks = !options.source.empty() + !options.dump.empty() + !options.fields.empty();
  if (tasks != 1) {
    throw CLI::ValidationError("mktable", "takes one of SOURCE, --from-dump and --fields");
  }
  if (!options.source.empty() && options.output.empty()) {
    throw CLI::RequiredError("-o FILE, where the table is written to,");
  }
}

}  // namespace

void AddMktableCommand(CLI::App& app, std::ostream& out, std::ostream& diagnostics, int& status) {
  const auto options = std::make_shared<MktableOptions>();
  CLI::App* command = app.add_subcommand("mktable", kHelp);
  command->footer(kFooter);
  command->add_option("SOURCE", options->source, "A table in source form")->type_name("FILE");
  command->add_option("-o,--output", options->output, "Where the result goes")->type_name("FILE");
  command
      ->add_option("--from-dump", options->dump,
                   "What `dmidecode --dump-bin` or `dmidecode -u` wrote, or a bare structure table")
      ->type_name("FILE");
  command
      ->add_option("--fields", options->fields,
                   "List the fields of a type of structure, or all types")
      ->type_name("TYPE|all");
  command->callback([options, &out, &diagnostics, &status] {
    RequireOneTask(*options);
    status = Mktable(*options, out, diagnostics);
  });
}

}  // namespace tvq::cli
