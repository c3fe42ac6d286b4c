#include <NOD/interface/NOD_ScriptPlacesPrivate.h>

#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>

namespace
{

std::string unescaped(const std::string &raw)
{
    KIT_String text(raw);
    text.expandControlSequences(0);
    return text.toStdString();
}

/// Of the block of a parameter; without a name that of the last one of the line.
std::string keyOf(const std::string &file, int line, const std::string &name = "")
{
    return file + ":" + std::to_string(line) + ":" + name;
}

} // namespace

void NOD_ScriptPlaces::open()
{
    if (myTokens || !myScript.getPage()) {
        return;
    }
    myParms = NODscriptParms(myScript);
    // The script was read: its layout says nothing.
    constexpr auto theDoubt = NOD_ScriptTokens::Doubt::NONE;
    myTokens.emplace(myScript.getText(), myScript.getFile(), myScript.getIncludes(), theDoubt);
    if (myTokens->isWhole()) {
        myShape.emplace(*myTokens, theDoubt);
        for (const NOD_ScriptShape::Block &block : myShape->getBlocks()) {
            const std::string &file = myTokens->getFileName(block.header);
            const int line = (*myTokens)[block.header].line;
            myBlocks[keyOf(file, line)] = &block;
            myBlocks[keyOf(file, line, block.name)] = &block;
        }
    }
}

const NOD_ScriptShape::Block *NOD_ScriptPlaces::findBlock(const ZEL_Template &one)
{
    open();
    const auto parm = myParms.find(one.getNamePtr());
    if (!myShape || parm == myParms.end()) {
        return nullptr;
    }
    const int line = parm->second->getLine();
    const std::string file = parm->second->getFile().nonNullStr();
    const std::string name = one.getToken() ? one.getToken() : "";
    const auto named = myBlocks.find(keyOf(file, line, name));
    const auto found = named != myBlocks.end() ? named : myBlocks.find(keyOf(file, line));
    return found == myBlocks.end() ? nullptr : found->second;
}

template <class Take>
std::shared_ptr<KIT_MessageDetail>
NOD_ScriptPlaces::search(const ZEL_Template &one, const std::string &keyword, const Take &take)
{
    const NOD_ScriptShape::Block *const block = findBlock(one);
    if (!block) {
        return nullptr;
    }
    auto detail = std::make_shared<KIT_MessageDetail>();
    detail->subject = one.getToken() ? one.getToken() : "";
    detail->place = myTokens->getPlace(block->header, block->header);
    detail->includedFrom = myTokens->getIncluders(block->header);
    for (const Statement &statement : block->statements) {
        const std::string &word = (*myTokens)[statement.begin].text;
        if (keyword.empty() || statement.block >= 0 ||
            word.compare(0, keyword.size(), keyword) != 0) {
            continue;
        }
        detail->place = myTokens->getPlace(statement.begin, statement.begin);
        for (int i = statement.begin + 1; i < statement.end; ++i) {
            if (take(i, detail->place)) {
                return detail;
            }
        }
    }
    return detail;
}

std::shared_ptr<KIT_MessageDetail> NOD_ScriptPlaces::find(const ZEL_Template &one,
                                                          const std::string &keyword,
                                                          const std::string &text,
                                                          std::size_t offset)
{
    return search(one, keyword, [&](int token, KIT_MessagePlace &place) {
        const std::string &raw = (*myTokens)[token].text;
        const std::size_t at = unescaped(raw).find(text);
        if (at == std::string::npos) {
            return false;
        }
        place = myTokens->getPlaceIn(token, NODrawOffset(raw, at + offset));
        return true;
    });
}

std::shared_ptr<KIT_MessageDetail> NOD_ScriptPlaces::findWord(const ZEL_Template &one,
                                                              const std::string &keyword,
                                                              const std::string &word)
{
    return search(one, keyword, [&](int token, KIT_MessagePlace &place) {
        const std::string text = unescaped((*myTokens)[token].text);
        if (text != word && !word.empty()) {
            return false;
        }
        place = myTokens->getPlace(token, token);
        return true;
    });
}

std::shared_ptr<KIT_MessageDetail> NOD_ScriptPlaces::findOperand(const ZEL_Template &one,
                                                                 const std::string &keyword,
                                                                 const std::string &word)
{
    constexpr std::string_view theBlanks = " \t\r\n{}\"";
    constexpr std::string_view theMarks = "=!<>~^*";
    const bool markFlag = !word.empty() && theMarks.find(word[0]) != std::string_view::npos;
    const auto endsWord = [&](char c) {
        return theBlanks.find(c) != std::string_view::npos ||
               (!markFlag && theMarks.find(c) != std::string_view::npos);
    };
    return search(one, keyword, [&](int token, KIT_MessagePlace &place) {
        const std::string &raw = (*myTokens)[token].text;
        const std::string text = unescaped(raw);
        std::size_t found = text.find(word);
        for (std::size_t at = found; at != std::string::npos; at = text.find(word, at + 1)) {
            const std::size_t end = at + word.size();
            if ((at == 0 || endsWord(text[at - 1])) &&
                (end >= text.size() || endsWord(text[end]))) {
                found = at;
                break;
            }
        }
        if (found == std::string::npos) {
            return false;
        }
        const std::size_t begin = NODrawOffset(raw, found);
        const std::size_t end = NODrawOffset(raw, found + word.size());
        place = myTokens->getPlaceIn(token, begin, std::max(end, begin + 1) - begin);
        return true;
    });
}
