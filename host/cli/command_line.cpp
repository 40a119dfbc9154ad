/*
 * The command line of `tvq`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/command_line.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <string>

#include "host/cli/export_command.h"
#include "host/cli/mktable_command.h"
#include "host/cli/state_commands.h"

namespace tvq::cli {
namespace {

constexpr char kExportHelp[] =
    "Runs the driver on an SMBIOS table and prints all that it makes of it as one JSON document:\n"
    "device records with their blobs, attributes, variables and the log.\n"
    "Warnings and reports go to standard error.";
constexpr char kExportFooter[] =
    "Without --from-dump and --table, the table of this machine is read from\n"
    "/sys/firmware/dmi/tables, which takes root rights.\n"
    "Exit status: 0 the document was printed; 1 it was printed, but the table could not be\n"
    "conformed; 2 there is no table that can be used, or the command line is wrong.";

constexpr char kSaveHelp[] =
    "Runs the driver on an SMBIOS table and saves the state of every device, to be compared later\n"
    "with `tvq verify`. A state that is there is replaced as a whole.";
constexpr char kSaveFooter[] =
    "Example: sudo tvq save /var/lib/tvq\n"
    "Exit status: 0 the state is saved; 2 it is not, and what was there still is.";
constexpr char kVerifyHelp[] =
    "Runs the driver on an SMBIOS table and has it compare every device with the saved state:\n"
    "same, replaced, new, moved, gone, or why it could not be compared.";
constexpr char kVerifyFooter[] =
    "Example: sudo tvq verify /var/lib/tvq\n"
    "Exit status: 0 all devices are the same; 1 one was replaced, is new, moved or gone;\n"
    "2 one could not be compared, or there is no table or no state.";

// "M.m", both from 0 to 255.
bool ParseVersion(const std::string& text, std::pair<unsigned, unsigned>& version) {
  const char* const end = text.data() + text.size();
  const auto major = std::from_chars(text.data(), end, version.first);
  if (major.ec != std::errc() || major.ptr == end || *major.ptr != '.') {
    return false;
  }
  const auto minor = std::from_chars(major.ptr + 1, end, version.second);
  return minor.ec == std::errc() && minor.ptr == end && version.first <= 255 &&
         version.second <= 255;
}

// The options that say which table a command works on.
void AddTableOptions(CLI::App* command, TableOptions& options, std::string& version) {
  CLI::Option* dump =
      command->add_option("--from-dump", options.file, "What `dmidecode --dump-bin FILE` writes")
          ->type_name("FILE");
  CLI::Option* table =
      command->add_option("--table", options.file, "A bare structure table, without an entry point")
          ->type_name("FILE")
          ->excludes(dump);
  command->add_option("--smbios-version", version, "The version that a bare table counts as (3.0)")
      ->type_name("M.m")
      ->needs(table)
      ->check([](const std::string& text) {
        std::pair<unsigned, unsigned> ignored;
        return ParseVersion(text, ignored) ? std::string()
                                           : "'" + text + "' is no version such as 3.2";
      });
  command->add_flag("--conform", options.conform,
                    "Rename devices that clash and add the FQDD map, in a copy of the table");
}

CLI::App* AddExport(CLI::App& app, TableOptions& options, std::string& version) {
  CLI::App* command = app.add_subcommand("export", kExportHelp);
  command->footer(kExportFooter);
  AddTableOptions(command, options, version);
  return command;
}

CLI::App* AddSave(CLI::App& app, StateOptions& options, std::string& version) {
  CLI::App* command = app.add_subcommand("save", kSaveHelp);
  command->footer(kSaveFooter);
  command->add_option("DIR", options.folder, "The folder of the state; made when it is missing")
      ->required();
  AddTableOptions(command, options.table, version);
  return command;
}

CLI::App* AddVerify(CLI::App& app, StateOptions& options, std::string& version) {
  CLI::App* command = app.add_subcommand("verify", kVerifyHelp);
  command->footer(kVerifyFooter);
  command->add_option("DIR", options.folder, "The folder that `tvq save` was given")->required();
  AddTableOptions(command, options.table, version);
  command->add_flag("--json", options.json, "Print one JSON document");
  return command;
}

}  // namespace

int RunCommandLine(int argc, const char* const* argv, std::ostream& out,
                   std::ostream& diagnostics) {
  CLI::App app("Inventory records of an SMBIOS table, made by the driver itself.", "tvq");
  app.require_subcommand(1);
  TableOptions exportOptions;
  StateOptions saveOptions;
  StateOptions verifyOptions;
  std::string version;
  AddExport(app, exportOptions, version);
  const CLI::App* save = AddSave(app, saveOptions, version);
  const CLI::App* verify = AddVerify(app, verifyOptions, version);
  int mktableStatus = kExitTrouble;
  AddMktableCommand(app, out, diagnostics, mktableStatus);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error, out, diagnostics) == 0 ? kExitNothingFound : kExitTrouble;
  }
  if (app.got_subcommand("mktable")) {
    return mktableStatus;
  }
  if (!version.empty()) {
    std::pair<unsigned, unsigned> parsed;
    ParseVersion(version, parsed);
    exportOptions.version = saveOptions.table.version = verifyOptions.table.version = parsed;
  }
  if (save->parsed()) {
    return Save(saveOptions, out, diagnostics);
  }
  if (verify->parsed()) {
    return Verify(verifyOptions, out, diagnostics);
  }
  return Export(exportOptions, out, diagnostics);
}

}  // namespace tvq::cli
