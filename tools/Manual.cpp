// SPDX-License-Identifier: Apache-2.0
#include "tools/Manual.h"

#include <fmt/format.h>

#include <cctype>
#include <ostream>
#include <string_view>
#include <vector>

namespace OrvexTools {
namespace {

std::vector<const CLI::App*> CommandsOf(const CLI::App& program) {
  return program.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<const CLI::Option*> OptionsOf(const CLI::App& command, bool positional) {
  return command.get_options([positional](const CLI::Option* pOption) {
    return !pOption->get_group().empty() && pOption->get_positional() == positional;
  });
}

// "-n", "--count": the ways to write an option.
std::vector<std::string> SpellingsOf(const CLI::Option& option) {
  std::vector<std::string> spellings;
  for (const std::string& name : option.get_snames()) spellings.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) spellings.push_back("--" + name);
  return spellings;
}

bool TakesValue(const CLI::Option& option) {
  return option.get_items_expected_max() > 0;
}

bool TakesSeveral(const CLI::Option& option) {
  return option.get_items_expected_max() > 1;
}

// "TEXT:{a,b}" and "UINT:UINT in [1 - 9]" without what stands behind the colon.
std::string ValueName(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  return type.substr(0, type.find(':'));
}

// The words in the braces of "TEXT:{a,b}"; none when the option has no fixed choices.
std::vector<std::string> ChoicesOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const std::size_t begin = type.find('{');
  const std::size_t end = type.find('}', begin);
  if (begin == std::string::npos || end == std::string::npos) return {};
  return CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',');
}

// "UINT in [1 - 9]": what stands behind the colon when it is a range.
std::string RangeOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const std::size_t begin = type.find('[');
  return begin == std::string::npos ? ""
                                    : type.substr(begin + 1, type.find(']', begin) - begin - 1);
}

// Text for man(7): hyphens that can be copied, no backslash taken for an escape.
std::string Roff(std::string_view text) {
  std::string escaped;
  for (const char letter : text) {
    if (letter == '\\') {
      escaped += "\\e";
    } else if (letter == '-') {
      escaped += "\\-";
    } else {
      escaped += letter == '\n' ? ' ' : letter;
    }
  }
  // At the beginning of a line these two begin a request.
  if (!escaped.empty() && (escaped[0] == '.' || escaped[0] == '\'')) escaped.insert(0, "\\&");
  return escaped;
}

std::string Upper(std::string text) {
  for (char& letter : text)
    letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  return text;
}

std::string PageName(const CLI::App& program, const CLI::App& command) {
  return &program == &command ? program.get_name() : program.get_name() + "-" + command.get_name();
}

void WriteOption(std::ostream& out, const CLI::Option& option) {
  out << ".TP\n";
  std::string line;
  for (const std::string& spelling : SpellingsOf(option))
    line += (line.empty() ? "\\fB" : ", \\fB") + Roff(spelling) + "\\fR";
  if (TakesValue(option)) line += " \\fI" + Roff(ValueName(option)) + "\\fR";
  if (TakesSeveral(option)) line += " ...";
  out << line << '\n' << Roff(option.get_description());
  std::vector<std::string> notes;
  if (const auto choices = ChoicesOf(option); !choices.empty())
    notes.push_back("one of " + CLI::detail::join(choices, ", "));
  if (const std::string range = RangeOf(option); !range.empty()) notes.push_back(range);
  if (!option.get_default_str().empty()) notes.push_back("default " + option.get_default_str());
  if (option.get_required()) notes.emplace_back("required");
  if (!notes.empty()) out << Roff(" (" + CLI::detail::join(notes, "; ") + ")");
  out << '\n';
}

void WriteArgument(std::ostream& out, const CLI::Option& option) {
  out << ".TP\n\\fI" << Roff(option.get_name()) << "\\fR\n"
      << Roff(option.get_description()) << '\n';
}

std::string SynopsisOf(const CLI::App& program, const CLI::App& command) {
  std::string line = "\\fB" + Roff(program.get_name());
  if (&program != &command) line += " " + Roff(command.get_name());
  line += "\\fR";
  if (&program == &command) return line + " \\fICOMMAND\\fR [\\fIOPTIONS\\fR]";
  line += " [\\fIOPTIONS\\fR]";
  for (const CLI::Option* pArgument : OptionsOf(command, true)) {
    const std::string name =
        "\\fI" + Roff(pArgument->get_name()) + "\\fR" + (TakesSeveral(*pArgument) ? " ..." : "");
    line += pArgument->get_required() ? " " + name : " [" + name + "]";
  }
  return line;
}

// A word between single quotes of a shell.
std::string Quoted(std::string_view text) {
  std::string quoted = "'";
  for (const char letter : text) quoted += letter == '\'' ? "'\\''" : std::string(1, letter);
  return quoted + "'";
}

std::vector<std::string> AllSpellings(const CLI::App& command) {
  std::vector<std::string> words;
  for (const CLI::Option* pOption : OptionsOf(command, false)) {
    for (std::string& spelling : SpellingsOf(*pOption)) words.push_back(std::move(spelling));
  }
  return words;
}

// What _arguments wants behind the name of an option that takes a value.
std::string ZshValue(const CLI::Option& option) {
  const auto choices = ChoicesOf(option);
  if (choices.empty()) return ":" + ValueName(option) + ":_files";
  return ":" + ValueName(option) + ":(" + CLI::detail::join(choices, " ") + ")";
}

// Descriptions of _arguments end at a bracket and separate by colons.
std::string ZshText(std::string_view text) {
  std::string escaped;
  for (const char letter : text) {
    if (letter == '[' || letter == ']' || letter == ':' || letter == '\\') escaped += '\\';
    escaped += letter;
  }
  return escaped;
}

}  // namespace

void WriteManPage(std::ostream& out, const CLI::App& program, const CLI::App& command,
                  const std::string& version) {
  const bool whole = &program == &command;
  const std::string name = PageName(program, command);
  out << fmt::format(".TH {} 1 \"\" \"Orvex {}\" \"Orvex manual\"\n", Roff(Upper(name)),
                     Roff(version))
      << ".SH NAME\n"
      << Roff(name) << " \\- " << Roff(command.get_description()) << '\n'
      << ".SH SYNOPSIS\n"
      << SynopsisOf(program, command) << '\n';
  if (whole) {
    out << ".SH COMMANDS\n";
    for (const CLI::App* pCommand : CommandsOf(program)) {
      out << ".TP\n\\fBorvex\\-" << Roff(pCommand->get_name()) << "\\fR(1)\n"
          << Roff(pCommand->get_description()) << '\n';
    }
  }
  if (const auto arguments = OptionsOf(command, true); !arguments.empty()) {
    out << ".SH ARGUMENTS\n";
    for (const CLI::Option* pArgument : arguments) WriteArgument(out, *pArgument);
  }
  out << ".SH OPTIONS\n";
  for (const CLI::Option* pOption : OptionsOf(command, false)) WriteOption(out, *pOption);
  if (const std::string footer = command.get_footer(); !footer.empty())
    out << ".SH NOTES\n" << Roff(footer) << '\n';
  out << ".SH EXIT STATUS\n"
         "0 when all was done, 1 when something failed, 2 when the command line was wrong. What "
         "went "
         "wrong is one line on standard error.\n";
  if (!whole) out << ".SH SEE ALSO\n\\fBorvex\\fR(1)\n";
}

void WriteBashCompletion(std::ostream& out, const CLI::App& program) {
  out << "# Completion of " << program.get_name() << " for bash, made from its command line.\n"
      << "_orvex() {\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} choices=\n"
         "  COMPREPLY=()\n"
         "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
         "    choices="
      <<
      [&] {
        std::vector<std::string> words = AllSpellings(program);
        for (const CLI::App* pCommand : CommandsOf(program)) words.push_back(pCommand->get_name());
        return Quoted(CLI::detail::join(words, " "));
      }()
      << "\n  else\n    case \"${COMP_WORDS[1]} $before\" in\n";
  for (const CLI::App* pCommand : CommandsOf(program)) {
    for (const CLI::Option* pOption : OptionsOf(*pCommand, false)) {
      if (!TakesValue(*pOption)) continue;
      std::string patterns;
      for (const std::string& spelling : SpellingsOf(*pOption))
        patterns += (patterns.empty() ? "" : "|") + Quoted(pCommand->get_name() + " " + spelling);
      // Without choices nothing is offered here, and the shell offers files.
      out << "      " << patterns
          << ") choices=" << Quoted(CLI::detail::join(ChoicesOf(*pOption), " ")) << " ;;\n";
    }
    out << "      " << Quoted(pCommand->get_name() + " ")
        << "*) choices=" << Quoted(CLI::detail::join(AllSpellings(*pCommand), " ")) << " ;;\n";
  }
  out << "    esac\n"
         "  fi\n"
         "  mapfile -t COMPREPLY < <(compgen -W \"$choices\" -- \"$word\")\n"
         "}\n"
         "complete -o default -F _orvex orvex\n";
}

void WriteZshCompletion(std::ostream& out, const CLI::App& program) {
  out << "#compdef orvex\n# Completion of " << program.get_name()
      << " for zsh, made from its command line.\n"
         "_orvex() {\n"
         "  local -a commands=(\n";
  for (const CLI::App* pCommand : CommandsOf(program)) {
    out << "    " << Quoted(pCommand->get_name() + ":" + ZshText(pCommand->get_description()))
        << '\n';
  }
  out << "  )\n"
         "  if (( CURRENT == 2 )); then\n"
         "    _describe -t commands command commands\n"
         "    return\n"
         "  fi\n"
         "  local command=$words[2]\n"
         "  shift words\n"
         "  (( CURRENT-- ))\n"
         "  case $command in\n";
  for (const CLI::App* pCommand : CommandsOf(program)) {
    out << "    " << pCommand->get_name() << ")\n      _arguments";
    for (const CLI::Option* pOption : OptionsOf(*pCommand, false)) {
      for (const std::string& spelling : SpellingsOf(*pOption)) {
        out << " \\\n        "
            << Quoted((TakesSeveral(*pOption) ? "*" : "") + spelling + "[" +
                      ZshText(pOption->get_description()) + "]" +
                      (TakesValue(*pOption) ? ZshValue(*pOption) : ""));
      }
    }
    out << " \\\n        '*:file:_files' ;;\n";
  }
  out << "  esac\n"
         "}\n"
         "_orvex \"$@\"\n";
}

}  // namespace OrvexTools
