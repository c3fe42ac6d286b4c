// Which name of the former interface is which of the present one.

#include <NOD/NOD_Migration.h>

#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <sstream>
#include <utility>

namespace
{

using Tokens = std::set<std::string>;

/// Tokens as they are written, and of blocks as items get them: numbers without a `#` are added at the end.
void addTokens(const ZEL_Template *templates, int depth, Tokens &out)
{
    for (const ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        std::string token = at->getTokenRef().nonNullStr();
        out.insert(token);
        for (int marks = int(std::count(token.begin(), token.end(), '#')); marks < depth; ++marks) {
            token += marks ? "_#" : "#";
        }
        out.insert(token);
        if (at->isMultiType()) {
            addTokens(at->getMultiParmTemplate(), depth + 1, out);
        }
    }
}

Tokens tokensOf(NOD_Node &node)
{
    Tokens tokens;
    addTokens(node.getInterface() ? node.getInterface()->getTemplates() : node.getPlainTemplates(),
              0, tokens);
    for (const ZEL_Template *spare : node.getSpareParms().getDescriptions()) {
        tokens.insert(spare->getTokenRef().nonNullStr());
        if (spare->isMultiType()) {
            addTokens(spare->getMultiParmTemplate(), 1, tokens);
        }
    }
    return tokens;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// The numbers of a token in the places of a pattern's `#`; false if it is no token of it.
bool readNumbers(const std::string &token, const std::string &pattern,
                 std::vector<std::string> &numbers)
{
    std::size_t at = 0;
    for (const char c : pattern) {
        if (c != '#') {
            if (at >= token.size() || token[at++] != c) {
                return false;
            }
            continue;
        }
        const std::size_t start = at;
        while (at < token.size() && isDigit(token[at])) {
            ++at;
        }
        if (at == start) {
            return false;
        }
        numbers.push_back(token.substr(start, at - start));
    }
    return at == token.size();
}

std::string withNumbers(const std::string &pattern, const std::vector<std::string> &numbers)
{
    std::string token;
    std::size_t next = 0;
    for (const char c : pattern) {
        token += c == '#' && next < numbers.size() ? numbers[next++] : std::string(1, c);
    }
    return token;
}

} // namespace

bool NOD_Migration::addRename(const std::string &former, const std::string &present,
                              NOD_Report &report)
{
    const int before = report.getErrorCount();
    if (former.empty() || present.empty()) {
        report.error("", "a rename has no name");
    } else if (std::count(former.begin(), former.end(), '#') !=
               std::count(present.begin(), present.end(), '#')) {
        report.error(former, "has not as many # as " + present);
    }
    for (const auto &[one, other] : myRenames) {
        if (one == former && other != present) {
            report.error(former, "is to be called " + other + " and " + present);
        } else if (other == present && one != former) {
            report.error(present, "is to be the name of " + one + " and " + former);
        }
    }
    if (report.getErrorCount() != before) {
        return false;
    }
    if (former != present) {
        myRenames.emplace_back(former, present);
    }
    return true;
}

bool NOD_Migration::addRename(const std::string &text, NOD_Report &report)
{
    const std::size_t place = text.find('=');
    if (place == std::string::npos) {
        report.error("", text + " has no =");
        return false;
    }
    return addRename(text.substr(0, place), text.substr(place + 1), report);
}

bool NOD_Migration::readRenames(std::string_view text, const std::string &name, NOD_Report &report)
{
    const int before = report.getErrorCount();
    std::istringstream lines{std::string(text)};
    int number = 0;
    std::size_t begin = 0;
    std::size_t next = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        begin = std::exchange(next, next + line.size() + 1);
        std::istringstream words(line);
        std::string former;
        std::string present;
        std::string rest;
        if (!(words >> former) || former[0] == '#') {
            continue;
        }
        NOD_Report found;
        if (!(words >> present) || ((words >> rest) && rest[0] != '#')) {
            found.error("", "a line is a former and a present name");
        } else {
            addRename(former, present, found);
        }
        for (NOD_Message message : found.getMessages()) {
            message.file = name;
            message.line = number;
            message.detail =
                KIT_MessageDetail::ofText(text, name, begin, begin + line.size(), former);
            report.add(std::move(message));
        }
    }
    return report.getErrorCount() == before;
}

bool NOD_Migration::readRenames(const std::string &path, NOD_Report &report)
{
    errno = 0;
    KIT_IFStream is(path.c_str());
    if (!is.isReadable()) {
        const int number = errno;
        report.add({KIT_ERROR_ABORT,
                    path,
                    0,
                    {},
                    std::string("can't be read: ") +
                        (number ? std::strerror(number) : "the reason is not known"),
                    {},
                    0});
        return false;
    }
    return readRenames(is.rest(), path, report);
}

bool NOD_Migration::checkRenames(NOD_Node &node, const ZEL_Template *templates,
                                 NOD_Report &report) const
{
    const int before = report.getErrorCount();
    const Tokens former = myRenames.empty() ? Tokens() : tokensOf(node);
    Tokens present;
    addTokens(myRenames.empty() ? nullptr : templates, 0, present);
    for (const auto &[one, other] : myRenames) {
        // An item's own name is one of those of its block.
        if (former.count(one) == 0 && !node.getParms().getParmPtr(one.c_str())) {
            report.error(one, "is to be renamed, but there is no parameter of that name");
        }
        if (present.count(other) == 0) {
            report.error(other, "is the new name of " + one +
                                    ", but the new interface has no parameter of that name");
        }
    }
    return report.getErrorCount() == before;
}

std::string NOD_Migration::targetOf(const std::string &token) const
{
    for (const auto &[former, present] : myRenames) {
        std::vector<std::string> numbers;
        if (readNumbers(token, former, numbers)) {
            return withNumbers(present, numbers);
        }
    }
    return token;
}
