#include <NOD/server/NOD_ServerFeaturesPrivate.h>

#include <NOD/server/NOD_ServerWorkspacePrivate.h>

#include <algorithm>
#include <utility>

namespace
{

using Json = NOD_ServerJson;
using Source = NOD_ServerSource;

/// Kinds of symbols by the numbers of the protocol.
enum Symbol
{
    MODULE = 2,
    NAMESPACE = 3,
    PROPERTY = 7,
    ARRAY = 18
};

Symbol kindOf(const Source &source, const Source::Block &block)
{
    const std::string_view word = source.word(source.statement(block.statement));
    const bool listFlag = word == "dynamic" || word.substr(0, 5) == "multi";
    return block.parmFlag ? PROPERTY : listFlag ? ARRAY : word == "import" ? MODULE : NAMESPACE;
}

std::string valueOf(const Source &source, int block, std::string_view keyword)
{
    const int statement = source.findStatement(block, keyword);
    const int value = statement < 0 ? -1 : source.firstValue(statement);
    return value < 0 ? std::string() : std::string(source.text(value));
}

Json symbolOf(const NOD_ServerFile &file, NOD_ServerTextWalk &walk, int number)
{
    const Source &source = file.getSource();
    const Source::Block &block = source.block(number);
    const Source::Token &keyword = source.token(source.statement(block.statement).keyword);
    const std::string word(source.word(source.statement(block.statement)));
    const std::string label = valueOf(source, number, "label");
    const int token = source.findName(number);
    std::string name = token < 0 ? std::string() : std::string(source.text(token));
    name = name.empty() ? label : name;
    const Source::Token &place = token < 0 ? keyword : source.token(token);
    const std::string type = valueOf(source, number, "type");
    Json one = {{"name", name.empty() ? word : name},
                {"kind", int(kindOf(source, block))},
                {"range", NODserverRange(walk, source.blockBegin(number), source.blockEnd(number))},
                {"selectionRange", NODserverRange(walk, place.begin, place.end)}};
    const std::string detail = block.parmFlag ? type : word;
    one["detail"] = detail + (label.empty() || label == name ? "" : " \"" + label + "\"");
    return one;
}

/// Of each block; the first one, the script, has none.
std::vector<Json> symbolsOf(const NOD_ServerFile &file)
{
    NOD_ServerTextWalk walk(file.getText());
    std::vector<Json> symbols(file.getSource().getBlocks().size());
    for (std::size_t i = 1; i < symbols.size(); ++i) {
        symbols[i] = symbolOf(file, walk, int(i));
    }
    return symbols;
}

/// Parents come before what is in them.
Json treeOf(const NOD_ServerFile &file)
{
    const std::vector<Source::Block> &blocks = file.getSource().getBlocks();
    std::vector<Json> symbols = symbolsOf(file);
    for (std::size_t i = blocks.size(); i-- > 1;) {
        Json &children = symbols[std::size_t(blocks[i].parent)]["children"];
        children.push_back(std::move(symbols[i]));
    }
    return symbols[0].is_null() ? Json::array() : symbols[0]["children"];
}

void reverse(Json &symbols)
{
    std::reverse(symbols.begin(), symbols.end());
    for (Json &one : symbols) {
        if (one.contains("children")) {
            reverse(one["children"]);
        }
    }
}

/// For clients that know no tree.
Json listOf(const NOD_ServerFile &file)
{
    const std::vector<Json> symbols = symbolsOf(file);
    Json all = Json::array();
    for (std::size_t i = 1; i < symbols.size(); ++i) {
        const auto parent = std::size_t(file.getSource().block(int(i)).parent);
        all.push_back({{"name", symbols[i]["name"]},
                       {"kind", symbols[i]["kind"]},
                       {"containerName", parent == 0 ? Json("") : symbols[parent]["name"]},
                       {"location", {{"uri", file.getUri()}, {"range", symbols[i]["range"]}}}});
    }
    return all;
}

} // namespace

NOD_ServerJson NODserverOutline(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document,
                                const NOD_ServerJson &)
{
    const NOD_ServerFile &file = *document.file();
    if (!workspace.client.symbolTreeFlag) {
        return listOf(file);
    }
    Json tree = treeOf(file);
    reverse(tree);
    return tree;
}
