#include <NOD/NOD_CommandCheck.h>

#include <DS/DS_Command.h>
#include <DS/DS_CommandList.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptCheck.h>
#include <NOD/interface/NOD_MessageCodesPrivate.h>
#include <NOD/interface/NOD_ScriptStreamPrivate.h>
#include <NOD/interface/NOD_ScriptTokensPrivate.h>
#include <TOK/TOK_SourceTokens.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace
{

/// The braces of one command.
struct Command
{
    int first; ///< the token of the brace
    int end;   ///< of the tokens
};

std::string_view lineOf(std::string_view text, std::size_t at)
{
    const std::size_t feed = at == 0 ? std::string_view::npos : text.rfind('\n', at - 1);
    const std::size_t begin = feed == std::string_view::npos ? 0 : feed + 1;
    return text.substr(begin, text.find('\n', begin) - begin);
}

int columnOf(std::string_view text, std::size_t at)
{
    return int(text.data() + at - lineOf(text, at).data());
}

/// How far in tokens stand, asked for in their order.
class Columns
{
public:
    explicit Columns(std::string_view text) : myText(text) {}

    int at(std::size_t place)
    {
        for (; myDone < place; ++myDone) {
            myBegin = myText[myDone] == '\n' ? myDone + 1 : myBegin;
        }
        return int(place - myBegin);
    }

private:
    std::string_view myText;
    std::size_t myDone = 0;
    std::size_t myBegin = 0;
};

/// Which bytes are whose, as the reader takes them where no brace is missing.
std::vector<Command> findCommands(const NOD_ScriptTokens &tokens, std::string_view text)
{
    std::vector<Command> all;
    Columns columns(text);
    int depth = 0;
    int column = 0;
    bool wordFlag = false; // since the last brace `command` was read
    for (int i = 0; i < tokens.size(); ++i) {
        const NOD_ScriptToken &token = tokens[i];
        const bool beginFlag = token.is("command") || token.is("{");
        const int at = columns.at(token.begin);
        if (depth > 0 && beginFlag && token.firstFlag && at <= column) {
            all.back().end = i;
            depth = 0;
        }
        if (depth == 0 && beginFlag && !wordFlag) {
            column = at;
            wordFlag = token.is("command");
        }
        // What follows a brace too many is the rest of its command.
        const bool restFlag =
            depth == 0 && !all.empty() && !token.firstFlag && !wordFlag && !tokens[i - 1].is("}");
        if (token.is("{")) {
            if (depth++ == 0 && !restFlag) {
                all.push_back({i, tokens.size()});
            }
            wordFlag = false;
        } else if (token.is("}") && !all.empty()) {
            depth -= depth > 0;
            all.back().end = depth == 0 ? i + 1 : all.back().end;
        }
    }
    return all;
}

/// The directives, each of which defines a macro on one line; false if there are others.
bool findMacros(std::string_view text, std::vector<std::string_view> &macros)
{
    constexpr std::string_view theStart = "#define ";
    const TOK_SourceTokens tokens(text);
    for (const TOK_SourceTokens::Token &token : tokens.getTokens()) {
        if (token.kind == TOK_SourceTokens::DIRECTIVE) {
            if (token.text.substr(0, theStart.size()) != theStart ||
                token.text.find('\n') != std::string_view::npos) {
                return false;
            }
            macros.push_back(token.text);
        }
    }
    return true;
}

/// A command as a script of its own, and the way back to its places.
class Alone
{
public:
    Alone(std::string_view text, const std::string &macros, const NOD_ScriptTokens &tokens,
          const Command &command)
        : myBegin(std::int64_t(tokens[command.first].begin)),
          myMacroBytes(std::int64_t(macros.size()))
    {
        const auto begin = std::size_t(myBegin);
        const std::size_t end =
            command.end < tokens.size() ? tokens[command.end].begin : text.size();
        const auto lines = std::count(macros.begin(), macros.end(), '\n');
        // Blanks keep the columns of its first line.
        myBlanks = columnOf(text, begin);
        myText = macros + std::string(std::size_t(myBlanks), ' ') +
                 std::string(text.substr(begin, end - begin));
        myLines = tokens[command.first].line - 1 - int(lines);
    }

    const std::string &getText() const { return myText; }

    NOD_Message place(NOD_Message message, const std::string &name, std::string_view source) const
    {
        const auto move = [&](KIT_MessagePlace &place) {
            if (place.file != name || place.offset < myMacroBytes) {
                return;
            }
            place.line += place.line > 0 ? myLines : 0;
            place.endLine += place.endLine > 0 ? myLines : 0;
            place.offset += myBegin - myMacroBytes - myBlanks;
            place.endOffset += myBegin - myMacroBytes - myBlanks;
            if (place.column > 0) {
                place.source = lineOf(source, std::size_t(place.offset));
            }
        };
        message.line += message.file == name && message.line > 0 ? myLines : 0;
        if (message.detail) {
            auto detail = std::make_shared<KIT_MessageDetail>(*message.detail);
            detail->changePlaces(move);
            message.detail = std::move(detail);
        }
        return message;
    }

private:
    std::string myText;
    std::int64_t myBegin;
    std::int64_t myMacroBytes;
    int myBlanks = 0;
    int myLines = 0;
};

} // namespace

bool NODcheckCommands(std::string_view text, const std::string &name, NOD_Report &report)
{
    NOD_Report found;
    const NOD_ScriptTokens tokens(text, name, NOD_Interface::Includes::NONE);
    std::vector<std::string_view> directives;
    if (!tokens.isWhole() || !findMacros(text, directives)) {
        return true;
    }
    std::string macros; // a command has those in front of it
    auto directive = directives.begin();
    for (const Command &command : findCommands(tokens, text)) {
        const char *const begin = text.data() + tokens[command.first].begin;
        for (; directive != directives.end() && directive->data() < begin; ++directive) {
            macros += std::string(*directive) + "\n";
        }
        const Alone alone(text, macros, tokens, command);
        NOD_Report said;
        NODcheckScript(alone.getText(), name, said, NOD_Interface::Includes::NONE);
        for (const NOD_Message &message : said.getMessages()) {
            found.add(alone.place(message, name, text));
        }
    }
    for (const NOD_Message &message : found.getMessages()) {
        if (found.hasErrors() || NODisMessage(message, NOD_SCRIPT_REST)) {
            report.add(message);
        }
    }
    return !found.hasErrors();
}

std::unique_ptr<DS_CommandList> NODreadCommands(std::string_view text, const std::string &name,
                                                NOD_Report &report,
                                                NOD_Interface::Includes includes)
{
    NOD_Report reader;
    std::unique_ptr<DS_CommandList> commands;
    {
        const NOD_ReportScope scope(reader, name);
        KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
        NOD_ScriptStream stream(is, name, reader, includes);
        commands = std::make_unique<DS_CommandList>(stream, name.c_str());
    }
    NOD_Report check;
    const bool soundFlag = NODcheckCommands(text, name, check);
    // It takes a file apart more simply than the reader, whose verdict counts.
    const bool mistakesFlag = reader.hasErrors() && !soundFlag;
    if (mistakesFlag || soundFlag) {
        report.append(check);
    }
    if (!mistakesFlag) {
        report.append(reader);
    }
    return commands;
}
