/*
 * The manual page of `tvq`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/pages/man_page.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>
#include <string_view>

#include "TvqSmbiosPkg/Include/TvqVersion.h"
#include "host/cli/input/table_input.h"

namespace tvq::cli {
namespace {

// For characters that roff obeys, or prints as others.
std::string_view EscapeOf(char character) {
  switch (character) {
    case '\\':
      return "\\e";
    case '-':
      return "\\-";
    case '\'':
      return "\\(aq";
    case '`':
      return "\\(ga";
    case '^':
      return "\\(ha";
    case '~':
      return "\\(ti";
    default:
      return {};
  }
}

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char character : text) {
    const std::string_view escape = EscapeOf(character);
    escaped += escape.empty() ? std::string_view(&character, 1) : escape;
  }
  return escaped;
}

// Lines of which none is a request, as those are that begin with a full stop.
std::string Lines(std::string_view text) {
  std::string lines;
  for (const char character : text) {
    const bool beginsLine = lines.empty() || lines.back() == '\n';
    lines += beginsLine && character == '.' ? "\\&" : "";
    lines += character;
  }
  return lines;
}

std::string Bold(std::string_view text) {
  return fmt::format("\\fB{}\\fR", Escaped(text));
}

std::string Italic(std::string_view text) {
  return fmt::format("\\fI{}\\fR", Escaped(text));
}

// Prose: what stands between ` and ` is bold.
std::string Prose(std::string_view text) {
  std::string prose;
  for (std::size_t open = text.find('`'); open != std::string_view::npos; open = text.find('`')) {
    const std::size_t close = text.find('`', open + 1);
    if (close == std::string_view::npos) {
      break;
    }
    prose += Escaped(text.substr(0, open)) + Bold(text.substr(open + 1, close - open - 1));
    text.remove_prefix(close + 1);
  }
  return Lines(prose + Escaped(text));
}

std::string Heading(std::string_view title, std::string_view body) {
  return fmt::format(".SH {}\n{}", title, body);
}

std::string Paragraphs(std::string_view text) {
  std::string paragraphs;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find("\n\n"), text.size());
    paragraphs += fmt::format(".PP\n{}\n", Prose(text.substr(0, end)));
    text.remove_prefix(std::min(end + 2, text.size()));
  }
  return paragraphs;
}

// Command lines, without what they are indented by.
std::string Examples(std::string_view text) {
  std::istringstream lines{std::string(text)};
  std::string examples;
  for (std::string line; std::getline(lines, line);) {
    examples +=
        Lines(Escaped(line.substr(std::min(line.find_first_not_of(' '), line.size())))) + '\n';
  }
  return fmt::format(".PP\nExamples:\n.PP\n.RS 4\n.nf\n{}.fi\n.RE\n", examples);
}

std::string Entry(std::string_view tag, std::string_view text) {
  return fmt::format(".TP\n{}\n{}\n", tag, text);
}

std::string Joined(const std::vector<std::string>& names) {
  std::string joined;
  for (const std::string& name : names) {
    joined += (joined.empty() ? "" : ", ") + Bold(name);
  }
  return joined;
}

std::string Relations(const Argument& option) {
  std::string relations;
  if (!option.needs.empty()) {
    relations += fmt::format("\nOnly with {}.", Joined(option.needs));
  }
  if (!option.excludes.empty()) {
    relations += fmt::format("\nNot with {}.", Joined(option.excludes));
  }
  return relations;
}

std::string PositionalEntry(const Argument& positional) {
  return Entry(Italic(positional.names.front()),
               Prose(positional.description) + '.' + Relations(positional));
}

std::string OptionEntry(const Argument& option) {
  const std::string value = option.value.empty() ? "" : ' ' + Italic(option.value);
  const std::string repeated = option.isRepeated ? "\nMay be given more than once." : "";
  return Entry(Joined(option.names) + value,
               Prose(option.description) + '.' + repeated + Relations(option));
}

// Every command has this one.
bool IsHelp(const Argument& option) {
  return option.names.back() == "--help";
}

std::string Usage(const CommandNode& command) {
  std::string usage = Bold(fmt::format("tvq {}", command.text.name));
  if (!std::all_of(command.options.begin(), command.options.end(), IsHelp)) {
    usage += fmt::format(" [{}]", Italic("OPTIONS"));
  }
  for (const Argument& positional : command.positionals) {
    const std::string name =
        Italic(positional.names.front()) + (positional.isRepeated ? " .\\|.\\|." : "");
    usage += positional.isRequired ? ' ' + name : fmt::format(" [{}]", name);
  }
  return usage;
}

std::string Synopsis(const CommandTree& tree) {
  std::string lines;
  for (const CommandNode& command : tree.commands) {
    lines += Usage(command) + '\n';
  }
  for (const Argument& option : tree.options) {
    lines += fmt::format("{} {}\n", Bold("tvq"), Bold(option.names.back()));
  }
  return fmt::format(".nf\n{}.fi\n", lines);
}

std::string CommandSection(const CommandNode& command) {
  const CommandText& text = command.text;
  std::string section = fmt::format(".SS tvq {}\n{}.\n{}", Escaped(text.name), Prose(text.summary),
                                    Paragraphs(text.details));
  for (const Argument& positional : command.positionals) {
    section += PositionalEntry(positional);
  }
  for (const Argument& option : command.options) {
    section += IsHelp(option) ? "" : OptionEntry(option);
  }
  return section + Examples(text.examples) +
         Paragraphs(fmt::format("Exit status: {}", text.statuses));
}

std::string CommandSections(const CommandTree& tree) {
  std::string sections;
  for (const CommandNode& command : tree.commands) {
    sections += CommandSection(command);
  }
  return sections;
}

// What does not depend on the commands.

std::string Statuses() {
  return Entry("0", "Nothing was found.") + Entry("1", "Something was found.") +
         Entry("2", "It could not be done, or the command line is wrong.") +
         Paragraphs("What that means for a command stands at its end above.");
}

std::string Files() {
  const std::string folder = TableOptions().systemFolder;
  return Entry(Italic(folder + "/DMI"), Prose("This machine's SMBIOS table.")) +
         Entry(Italic(folder + "/smbios_entry_point"), "Its entry point.") +
         Entry(Italic("DIR/state-N.bin"),
               Prose("What `tvq save` leaves in a folder; the highest number is the newest.")) +
         Entry(Italic("/etc/machine-id"),
               Prose("What the masks of `--redact` depend on, without a key of its own."));
}

std::string Environment() {
  return Entry(Bold("NO_COLOR"), "Nothing is coloured when this is set to anything.") +
         Entry(Bold("TERM"), Prose("Nor when this is missing or `dumb`.")) +
         Paragraphs("Colour, and tables as wide as the terminal, are for terminals alone.");
}

}  // namespace

std::string ManPage(const CommandTree& tree) {
  std::string summary = tree.summary;
  if (!summary.empty() && summary.back() == '.') {
    summary.pop_back();
  }
  std::string top;
  for (const Argument& option : tree.options) {
    top += OptionEntry(option);
  }
  return ".\\\" SPDX-License-Identifier: BSD-2-Clause-Patent\n"
         ".TH TVQ 1 \"\" \"tvq " TVQ_VERSION "\" \"User Commands\"\n" +
         Heading("NAME", fmt::format("tvq \\- {}\n", Escaped(summary))) +
         Heading("SYNOPSIS", Synopsis(tree)) +
         Heading("DESCRIPTION",
                 Prose("The inventory that the UEFI driver TVQSMBIOS makes of a server's SMBIOS "
                       "table: `tvq` runs\nthe driver on a table, in a process of its own. The "
                       "table is this machine's, or one that was\ncaptured anywhere.") +
                     '\n') +
         Heading("OPTIONS", top) + Heading("COMMANDS", CommandSections(tree)) +
         Heading("EXIT STATUS", Statuses()) + Heading("FILES", Files()) +
         Heading("ENVIRONMENT", Environment()) + Heading("SEE ALSO", ".BR dmidecode (8)\n");
}

}  // namespace tvq::cli
