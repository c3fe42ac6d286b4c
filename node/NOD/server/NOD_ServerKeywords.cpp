#include <NOD/server/NOD_ServerKeywordsPrivate.h>

#include <NOD/NOD_Documentation.h>
#include <ZEL/ZEL_ScriptTypes.h>

#include <unordered_map>

namespace
{

enum Place
{
    PARM = 1,
    PAGE = 2,
    BOTH = PARM | PAGE
};

using Docs = std::unordered_map<std::string_view, const char *>;

Docs makeDocs(Place place)
{
    Docs docs;
#define ZEL_KEYWORD_DOC(word, where, sentence)                                                     \
    if ((where & place) != 0) {                                                                    \
        docs.emplace(word, sentence);                                                              \
    }
#include <ZEL/scripts/ZEL_ScriptKeywordDocs.def>
    return docs;
}

const char *find(const Docs &docs, std::string_view word)
{
    const auto found = docs.find(word);
    return found == docs.end() ? nullptr : found->second;
}

} // namespace

const char *NODfindKeywordDoc(std::string_view word, bool inParm)
{
    static const Docs theParm = makeDocs(PARM);
    static const Docs thePage = makeDocs(PAGE);
    return find(inParm ? theParm : thePage, word);
}

bool NODisImportKeyword(std::string_view word)
{
    constexpr int ANYWHERE = 0;
    constexpr int IMPORT = 1;
    static const std::unordered_map<std::string_view, int> theWords = {
#define ZEL_PAGE_KEYWORD(word, form, parser, argument, place) {word, place},
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
    };
    const auto found = theWords.find(word);
    return found != theWords.end() && found->second == IMPORT;
}

std::string NODtypeDoc(const std::string &word)
{
    const int number = ZELlookupScriptType(word.c_str());
    const char *const first = number < 0 ? nullptr : ZELgetScriptTypeWord(number);
    const char *const meaning = first ? NODtypeMeaning(first) : nullptr;
    return meaning ? std::string(meaning) + "." : std::string();
}
