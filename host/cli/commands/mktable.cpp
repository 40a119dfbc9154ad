/*
 * `tvq mktable`: an SMBIOS table from its readable source form, and back.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <ostream>
#include <string>
#include <string_view>

#include "host/cli/command.h"
#include "host/cli/input/file_kind.h"
#include "host/cli/input/input.h"
#include "host/cli/input/table_input.h"
#include "host/cli/output/output_file.h"
#include "host/table/dump.h"
#include "host/table/layout.h"
#include "host/table/source.h"
#include "host/table/text.h"

namespace tvq::cli {
namespace {

using table::Bytes;
using table::Result;

constexpr CommandText kText = {
    "mktable", "Builds a table from its readable source form, or turns a table into that form",
    "FILE may be '-' for standard input and output.",
    "  tvq mktable samples/two-socket.smbios -o two-socket.bin\n"
    "  dmidecode --from-dump two-socket.bin\n"
    "  tvq mktable --from-dump two-socket.bin\n"
    "  dmidecode -u | tvq mktable --from-dump -\n"
    "  tvq mktable --fields processor\n",
    "0 the result was written; 2 it was not."};
constexpr char kSourceHint[] = "`tvq mktable --from-dump FILE` makes a source to start from";

struct MktableOptions {
  std::string source;
  std::string dump;
  std::string output;
  std::string fields;
  RedactOptions redact;
};

std::string_view AsText(const Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// What is wrong with a source is told in its words, of which any may be a secret.
table::Error WithoutQuotes(const table::Error& error) {
  return {"this cannot be understood", "without --redact, the message says why", error.line};
}

// The result of the command, for `output`; a failure carries the line of the input.
Result<std::string> BuildDump(const Bytes& source, const std::optional<Masker>& masker,
                              const Console& console) {
  auto table = table::ParseSource(AsText(source));
  if (!table) {
    return masker ? WithoutQuotes(table.Failure()) : table.Failure();
  }
  if (masker) {
    SayBlanked(RedactTable(table->structures, *masker), console);
  }
  auto dump = table::WriteDump(*table);
  if (!dump) {
    return dump.Failure();
  }
  if (masker) {
    RedactEntryPoint(*dump, table->entryPoint);
  }
  return std::string(AsText(*dump));
}

Result<std::string> BuildSource(Bytes file, const std::optional<Masker>& masker,
                                const Console& console) {
  const bool isText = table::IsHexText(file);
  if (masker && !isText) {
    const auto blanked = RedactDump(file, *masker);
    if (!blanked) {
      return blanked.Failure();
    }
    SayBlanked(*blanked, console);
  }
  auto table = isText ? table::ReadHexText(AsText(file)) : table::ReadDump(file);
  if (!table) {
    return table.Failure();
  }
  if (masker && isText) {
    SayBlanked(RedactTable(table->structures, *masker), console);
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

// Names the file and, where one is to blame, the line.
[[noreturn]] void ThrowFailure(const std::string& path, const table::Error& error) {
  std::string place;
  if (!path.empty()) {
    place = error.line == 0 ? path + ": " : fmt::format("{}:{}: ", path, error.line);
  }
  throw InputError(place + error.message, error.hint);
}

Result<std::string> Produce(const MktableOptions& options, const Console& console) {
  if (!options.fields.empty()) {
    return ListFields(options.fields);
  }
  const std::optional<Masker> masker = MakeMasker(options.redact);
  if (!options.dump.empty()) {
    return BuildSource(ReadInput(options.dump, kTableHint, console), masker, console);
  }
  const Bytes source = ReadInput(options.source, kSourceHint, console);
  RefuseTables(options.source, source, "source", "tvq mktable --from-dump");
  return BuildDump(source, masker, console);
}

void RequireOneTask(const MktableOptions& options) {
  const int tasks = !options.source.empty() + !options.dump.empty() + !options.fields.empty();
  if (tasks != 1) {
    throw UsageError("mktable: takes one of SOURCE, --from-dump and --fields");
  }
  if (!options.source.empty() && options.output.empty()) {
    throw UsageError("-o FILE, where the table is written to, is required");
  }
}

ExitStatus Mktable(const MktableOptions& options, Console& console) {
  RequireOneTask(options);
  const auto result = Produce(options, console);
  if (!result) {
    ThrowFailure(options.dump.empty() ? options.source : options.dump, result.Failure());
  }
  if (options.fields.empty() || !options.output.empty()) {
    WriteOutput(options.output, *result, console);
  } else {
    console.Page(*result);
  }
  return kExitNothingFound;
}

}  // namespace

void AddMktable(Commands& commands) {
  const auto options = std::make_shared<MktableOptions>();
  Parameters parameters =
      commands.Add(kText, [options](Console& console) { return Mktable(*options, console); });
  parameters.Value("SOURCE", options->source, "A table in source form").Named("");
  parameters.Value("-o,--output", options->output, "Where the result goes").Named("FILE");
  parameters
      .Value("--from-dump", options->dump,
             "What `dmidecode --dump-bin` or `dmidecode -u` wrote, or a bare structure table")
      .Named("FILE");
  parameters
      .Value("--fields", options->fields, "List the fields of a type of structure, or all types")
      .Named("TYPE|all");
  AddRedact(parameters, options->redact);
}

}  // namespace tvq::cli
