#include <NOD/NOD_MessagePage.h>

#include <KIT/KIT_MessageCatalogue.h>
#include <NOD/NOD_Lint.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <sstream>

namespace
{

struct Group
{
    const char *category;
    const char *title;
    const char *text;
};

constexpr Group theGroups[] = {
    {"ZEL", "Parameters, streams and presets",
     "ZEL 15 to 17 are those of [presets](presets.md); see [the stream](stream.md) for the others."},
    {"STO", "Files of sections", "Presets, node and scene files ([scene files](scene-files.md))."},
    {"Common", "Every class", ""},
    {"TRK", "Expressions and channel files",
     "1 to 9 are those of [expressions](channels.md#the-expression-language), 20 to 28 those of [channel "
     "files](channels.md#the-text-form)."},
    {"DS", "Dialog scripts",
     "An error manager has them under Common 14, with file and line in the text; reports and the tool give "
     "each the code of its text. 60 to 69 are those of conditions, 70 to 99 those of the preprocessor; 100 to "
     "119 are told by `zel check` besides the reader's own, 120 to 129 are about dialog commands and layout."},
    {"NOD", "Descriptions, files and edits",
     "Of libzelnode and the tool. 1 to 39 are about what a script describes, 40 to 69 about files, 70 to 119 "
     "about what is written on a command line or in a file of settings, 120 to 179 about maps of migrations, 200 to "
     "239 about files that are written, 240 to 259 about trees of nodes, 260 to 289 about scripts that are written, "
     "290 to 309 about patches and what is compared."},
    {"TOOL", "The tool", "Of `zel` alone."},
};

std::string cleaned(const std::string &code)
{
    std::string out;
    for (const char c : code) {
        if (c != ' ') {
            out += char(std::toupper(static_cast<unsigned char>(c)));
        }
    }
    return out;
}

std::vector<NOD_MessageHelp> allMessages()
{
    std::vector<NOD_MessageHelp> all;
    for (const Group &group : theGroups) {
        for (const KIT_MessageEntry &entry : KITgetMessageEntries()) {
            if (entry.category == std::string(group.category)) {
                all.push_back({entry.category + (" " + std::to_string(entry.code)), entry.severity,
                               entry.sentence, entry.cause, entry.remedy, entry.kind,
                               entry.example});
            }
        }
    }
    for (const NOD_LintRule &rule : NODlintRules()) {
        all.push_back({rule.code, NODlintLevelWord(rule.level), rule.name, rule.sentence,
                       rule.fixFlag ? "`zel lint --fix`, or by hand:\n" + std::string(rule.mended)
                                    : "Better:\n" + std::string(rule.mended),
                       "LINT_RULE", rule.example});
    }
    return all;
}

std::string categoryOf(const std::string &code)
{
    return code.substr(0, code.find(' '));
}

std::string indented(const std::string &text, const char *indent)
{
    std::string out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        out += line.empty() ? "\n" : indent + line + "\n";
    }
    return out;
}

/// What stands in front of an example, where its kind isn't plain.
std::string introOf(const std::string &kind)
{
    return kind == "SCRIPT" || kind == "ALL" || kind == "WHOLE" || kind == "LINT_RULE"
               ? "in a script:"
           : kind == "VALUES"     ? "in a file of values:"
           : kind == "SCENE"      ? "in a scene file:"
           : kind == "EXPRESSION" ? "as an expression:"
           : kind == "PYTHON"     ? "as an expression in Python:"
           : kind == "RENAMES"    ? "in a file of renames:"
           : kind == "MAP"        ? "in a map:"
           : kind == "LINT"       ? "in a configuration of lint:"
                                  : "on a command line:";
}

/// A cell of a table: one line, without a bar that ends it.
std::string cell(const std::string &text)
{
    std::string out;
    for (const char c : text) {
        out += c == '|' ? "\\|" : c == '\n' ? " " : std::string(1, c);
    }
    return out;
}

/// An example in a cell; the tabs and line feeds of its code are shown.
std::string exampleCell(const NOD_MessageHelp &help)
{
    std::string text = help.example;
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    std::replace(text.begin(), text.end(), '\t', ' ');
    std::string out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        out += (out.empty() ? "" : "<br>") + ("`` " + cell(line) + " ``");
    }
    return out;
}

} // namespace

std::vector<NOD_MessageHelp> NODfindMessages(const std::string &code)
{
    std::vector<NOD_MessageHelp> found = allMessages();
    const std::string wanted = cleaned(code);
    const auto isOther = [&](const NOD_MessageHelp &help) {
        return !wanted.empty() && cleaned(help.code) != wanted &&
               cleaned(categoryOf(help.code)) != wanted;
    };
    found.erase(std::remove_if(found.begin(), found.end(), isOther), found.end());
    return found;
}

std::string NODmessageText(const NOD_MessageHelp &help)
{
    std::string out = help.code + " (" + help.severity + "): " + help.sentence + "\n";
    out += indented(help.cause, "  ");
    out += indented(help.remedy, "  ");
    if (!help.example.empty()) {
        out += "  For example, " + introOf(help.kind) + "\n" + indented(help.example, "      ");
    }
    return out;
}

std::string NODmessagePage()
{
    std::ostringstream page;
    page
        << "# Messages\n\n"
           "`zel messages CODE` prints the row of a code; this page is `zel messages --page`, made from the\n"
           "tables that the code uses: `host/KIT/KIT_Messages.def`, `KIT_MessageHelp.def`,\n"
           "`KIT_TextMessages.def` and `node/NOD/lint/NOD_LintRules.def`.\n\n"
           "A message is a category, a code, a severity and a text, which is put into the sentence at `{}`.\n"
           "Severity 3 is a warning, 4 an error, at which a stream operation returns false, 5 (fatal) an error\n"
           "of the caller. Codes are stored by applications: none changes its meaning.\n\n"
           "A message of a reader has more than its text (`KIT_MessageDetail.h`): file, line and columns in\n"
           "bytes and characters, of a binary the byte; the parameter or section, the word that was found and\n"
           "the ones that could be there, the includes that led to it, other places that explain it, and fixes.\n"
           "Text and line are those of the reader, which notices a mistake where it can't go on; the place is\n"
           "where the mistake is. `--messages full` and `--json` print it all. An error manager has details\n"
           "where its flag `theDetailsFlag` asks for them, and all reports of libzelnode do.\n";
    for (const Group &group : theGroups) {
        page << "\n## " << group.title << "\n\n"
             << (*group.text ? group.text + std::string("\n\n") : "")
             << "| code | severity | sentence | cause | what to do | example |\n"
                "|---|---|---|---|---|---|\n";
        for (const NOD_MessageHelp &help : NODfindMessages(group.category)) {
            page << "| " << help.code << " | " << help.severity << " | " << cell(help.sentence)
                 << " | " << cell(help.cause) << " | " << cell(help.remedy) << " | "
                 << exampleCell(help) << " |\n";
        }
    }
    page << "\n## Judgements of lint\n\nWith examples on [their page](lint.md).\n\n"
            "| code | level | name | cause |\n|---|---|---|---|\n";
    for (const NOD_LintRule &rule : NODlintRules()) {
        page << "| [" << rule.code << "](lint.md#" << rule.code << ") | "
             << NODlintLevelWord(rule.level) << " | " << rule.name << " | " << cell(rule.sentence)
             << " |\n";
    }
    return page.str();
}
