#include <NOD/tree/NOD_NodeTextsPrivate.h>

#include <BAS/BAS_Character.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Node.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Segment.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_String.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_Type.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace
{

using Call = TRK_NodePaths::Call;
using Result = TRK_NodePaths::Result;
using Form = TRK_NodePaths::Form;
using Part = TRK_NodePaths::Part;

constexpr std::string_view theBlanks = " \t\r\n";

void add(Result &sum, const Result &one)
{
    sum.changed += one.changed;
    sum.refused += one.refused;
    sum.why = one.why ? one.why : sum.why;
}

// ---------------------------------------------------------------------- //
// Channels
// ---------------------------------------------------------------------- //

/// Literals are no references to parameters.
Result readText(std::string &text, Form form, const TRK_Collection *variables, const Call &call,
                Part part)
{
    const bool literalFlag = form == Form::TEXT || form == Form::PATHS;
    return part == Part::ALL && literalFlag && !TRK_NodePaths::hasExpression(text.c_str())
               ? Result()
               : TRK_NodePaths::forEach(text, form, variables, call, part);
}

Result readChannel(TRK_Channel &channel, bool givesText, const TRK_Collection *variables,
                   const Call &call, Part part)
{
    Result sum;
    for (int i = 0; i < channel.getNSegments(); ++i) {
        TRK_Segment &segment = *channel.getSegment(i);
        if (segment.isInterpolated()) {
            continue;
        }
        const TRK_ExprLanguage language = segment.getExprLanguage();
        std::string text(segment.getExpression());
        const Result one =
            readText(text, TRK_NodePaths::formOf(language, givesText), variables, call, part);
        if (one.changed > 0) {
            segment.changeExpression(text.c_str(), language);
        }
        add(sum, one);
    }
    const TRK_ExprLanguage language = channel.getDefaultLanguage();
    std::string text(channel.getDefaultString().nonNullStr());
    const Result one =
        readText(text, TRK_NodePaths::formOf(language, givesText), variables, call, part);
    if (one.changed > 0) {
        channel.setDefaultString(text.c_str(), language);
    }
    add(sum, one);
    if (sum.changed > 0) {
        constexpr bool reserved = false;
        channel.setChanged(true, reserved);
    }
    return sum;
}

// ---------------------------------------------------------------------- //
// Kept sections
// ---------------------------------------------------------------------- //

/// A word of a saved text, or what is in quotes.
struct Word
{
    std::size_t start;
    std::size_t end;
    bool isQuoted;
    std::string text; ///< without escapes
};

/// Of a channel file.
std::vector<Word> channelWords(const std::string &source)
{
    std::vector<Word> words;
    for (std::size_t at = 0; (at = source.find_first_not_of(theBlanks, at)) != std::string::npos;) {
        Word word{at, source.size(), source[at] == '"', {}};
        if (source[at] == '#') {
            at = std::min(source.find('\n', at), source.size());
            continue;
        }
        if (!word.isQuoted) {
            word.end = std::min(source.find_first_of(theBlanks, at), source.size());
            word.text = source.substr(at, word.end - at);
        }
        for (++at; word.isQuoted && at < source.size(); ++at) {
            if (source[at] == '"') {
                word.end = at + 1;
                break;
            }
            const char next = source[at] == '\\' && at + 1 < source.size() ? source[at + 1] : '\0';
            word.text += next == 'n'    ? '\n'
                         : next == 'r'  ? '\r'
                         : next == 't'  ? '\t'
                         : next != '\0' ? next
                                        : source[at];
            at += next != '\0';
        }
        at = word.end;
        words.push_back(std::move(word));
    }
    return words;
}

std::string channelQuoted(const std::string &text)
{
    std::string out = "\"";
    for (const char c : text) {
        const char letter = c == '\n' ? 'n' : c == '\r' ? 'r' : c == '\t' ? 't' : c;
        out.append(letter != c || c == '"' || c == '\\' ? "\\" : "");
        out += letter;
    }
    return out + '"';
}

/// Of the values between round brackets in a stream, but for links to channels.
std::vector<Word> valueWords(const std::string &source)
{
    std::vector<Word> words;
    KIT_IStream is(source.data(), source.size(), KIT_IStream::TEXT);
    KIT_WorkBuffer buffer;
    bool insideFlag = false;
    int brackets = 0;
    for (;;) {
        const auto from = std::size_t(is.tellg());
        const std::size_t start = source.find_first_not_of(theBlanks, from);
        if (start == std::string::npos || !is.seekg(std::int64_t(start))) {
            return words;
        }
        if (!insideFlag && source[start] == '#') {
            is.seekg(std::int64_t(std::min(source.find('\n', start), source.size())));
            continue;
        }
        if (!is.getString(buffer)) {
            return words;
        }
        Word word{start, std::size_t(is.tellg()), source[start] == '"' || source[start] == '\'',
                  std::string(buffer.view())};
        const char bracket = !word.isQuoted && word.text.size() == 1 ? word.text[0] : '\0';
        brackets += bracket == '[' ? 1 : bracket == ']' ? -1 : 0;
        if (brackets == 0 && (bracket == '(' || bracket == ')')) {
            insideFlag = bracket == '(';
        } else if (insideFlag && brackets == 0 && bracket != ']') {
            words.push_back(std::move(word));
        }
    }
}

std::string valueQuoted(const std::string &text)
{
    KIT_WorkBuffer quoted;
    KITappendQuoted(quoted, text.data(), text.size());
    return std::string(quoted.view());
}

/// Data begin with the name of their type.
bool isData(const std::string &text)
{
    const std::size_t name =
        std::size_t(std::find_if_not(text.begin(), text.end(), BASisWordChar) - text.begin());
    return name > 0 && text.compare(name, 2, ":{") == 0;
}

/// Of each word; NATIVE_TEXT and PYTHON_TEXT for those of a key, TEXT for values.
struct Place
{
    const Word *word;
    Form form;
};

std::vector<Place> channelPlaces(const std::vector<Word> &words)
{
    std::vector<Place> places;
    const auto isStart = [](const Word &word) {
        return !word.isQuoted && (word.text == "key" || word.text == "text" || word.text == "}" ||
                                  word.text == "alias" || word.text == "channel");
    };
    const auto isPython = [](const Word &word) { return !word.isQuoted && word.text == "python"; };
    for (auto at = words.begin(); at != words.end();) {
        const auto end = std::find_if(at + 1, words.end(), isStart);
        const bool hasText = !at->isQuoted && (at->text == "key" || at->text == "text");
        const bool pythonFlag = std::any_of(at, end, isPython);
        for (; at != end; ++at) {
            if (hasText && at->isQuoted) {
                places.push_back({&*at, pythonFlag ? Form::PYTHON_TEXT : Form::NATIVE_TEXT});
            }
        }
    }
    return places;
}

std::vector<Place> valuePlaces(const std::vector<Word> &words)
{
    std::vector<Place> places;
    for (const Word &word : words) {
        if (!isData(word.text)) {
            places.push_back({&word, Form::TEXT});
        }
    }
    return places;
}

// ---------------------------------------------------------------------- //
// Forms that aren't known
// ---------------------------------------------------------------------- //

constexpr std::size_t theLongestName = 255;

bool isNameByte(char c)
{
    return BASisWordChar(c) || static_cast<unsigned char>(c) >= 0x80;
}

/// The end of a child's name at a place, the longest that there is; 0 if there is none. In bytes that
/// aren't a text it may end anywhere.
std::size_t childAt(const std::string &text, std::size_t at, bool isBinary, NOD_Node *&node)
{
    const std::size_t slash = std::min(text.find('/', at), text.size());
    for (std::size_t end = std::min(slash, at + theLongestName); end > at; --end) {
        if (!isBinary && end < text.size() && isNameByte(text[end])) {
            continue;
        }
        if (NOD_Node *const child = node->getChild(text.substr(at, end - at))) {
            node = child;
            return end;
        }
    }
    return 0;
}

} // namespace

TRK_NodePaths::Form NOD_NodeTexts::formOf(const ZEL_Parm &parm)
{
    const ZEL_Template *const description = parm.getTemplatePtr();
    const ZEL_TypeExtended kind = description ? description->getTypeExtended() : ZEL_TYPEX_NONE;
    const bool isOfPaths = kind == ZEL_TYPEX_NODE_PATH || kind == ZEL_TYPEX_NODE_PATHS ||
                           parm.getType().hasStringType(ZEL_Type::ZEL_STR_OP_REF_NAME) ||
                           parm.getType().hasStringType(ZEL_Type::ZEL_STR_OP_REF_LIST);
    return isOfPaths ? Form::PATHS : Form::TEXT;
}

Result NOD_NodeTexts::forEach(ZEL_Parm &parm, const TRK_Collection *variables, const Call &call,
                              Part part)
{
    Result sum;
    const bool givesText = parm.getType().isStringType();
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        if (TRK_Channel *const channel = parm.getChannel(k)) {
            add(sum, readChannel(*channel, givesText, variables, call, part));
        }
    }
    if (auto *const texts = givesText ? dynamic_cast<ZEL_String *>(parm.getInstance()) : nullptr) {
        texts->rewriteTexts([&](int, KIT_String &raw) {
            std::string text(raw.nonNullStr());
            const Result one = readText(text, formOf(parm), variables, call, part);
            if (one.changed > 0) {
                raw = text;
            }
            add(sum, one);
            return one.changed > 0;
        });
    }
    return sum;
}

bool NOD_NodeTexts::isReadable(const Section &section)
{
    return section.first == "channels" ||
           (section.first == "values" && (section.second.empty() || section.second[0] != '\0'));
}

Result NOD_NodeTexts::forEach(Section &section, const TRK_Collection *variables, const Call &call,
                              Part part)
{
    Result sum;
    const bool channelsFlag = section.first == "channels";
    const std::string &source = section.second;
    const std::vector<Word> words = channelsFlag ? channelWords(source) : valueWords(source);
    std::string written;
    std::size_t done = 0;
    for (const Place &place : channelsFlag ? channelPlaces(words) : valuePlaces(words)) {
        std::string text = place.word->text;
        const Result one = readText(text, place.form, variables, call, part);
        if (one.changed > 0) {
            written.append(source, done, place.word->start - done);
            written += channelsFlag ? channelQuoted(text) : valueQuoted(text);
            done = place.word->end;
        }
        add(sum, one);
    }
    if (sum.changed > 0) {
        written.append(source, done, std::string::npos);
        section.second.swap(written);
    }
    return sum;
}

void NOD_NodeTexts::forEachPossible(const Section &section, NOD_Node &node,
                                    const std::function<void(const std::string &path)> &call)
{
    const std::string &text = section.second;
    const bool isBinary = section.first == "values" && !isReadable(section);
    for (std::size_t at = 0; (at = text.find_first_of("/.", at)) != std::string::npos;) {
        const std::size_t start = at++;
        const bool upFlag = text.compare(start, 3, "../") == 0;
        if ((!upFlag && text[start] != '/') ||
            (start > 0 && (text[start - 1] == '/' || (!isBinary && isNameByte(text[start - 1]))))) {
            continue;
        }
        NOD_Node *target = upFlag ? &node : node.findNode("/");
        std::size_t end = start;
        for (std::size_t next = upFlag ? start : start + 1; next != 0 && target;) {
            if (text.compare(next, 3, "../") == 0) {
                target = target->getParent();
                end = next += 2;
            } else {
                next = childAt(text, next, isBinary, target);
                end = next != 0 ? next : end;
            }
            next = next != 0 && next < text.size() && text[next] == '/' ? next + 1 : 0;
        }
        if (target && end > start) {
            call(text.substr(start, end - start));
            at = end;
        }
    }
}
