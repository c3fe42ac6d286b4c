#include <TRK/TRK_Collection.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageSource.h>
#include <KIT/KIT_Write.h>
#include <TRK/TRK_Evaluation.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <ostream>
#include <string>
#include <unordered_set>

namespace
{

constexpr size_t theLongestWord = 1024;
constexpr const char *theBitsPrefix = "bits:";

uint64_t bitsOf(double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

// ---------------------------------------------------------------- //
// Writing
// ---------------------------------------------------------------- //

void writeNumber(std::string &out, double value)
{
    if (!std::isnan(value)) {
        out += KIT_Digits(value).buffer();
        return;
    }
    // Digits would lose the payload of a NaN.
    char digits[16];
    const std::to_chars_result end =
        std::to_chars(digits, digits + sizeof(digits), bitsOf(value), 16);
    out += theBitsPrefix;
    out.append(digits, end.ptr);
}

void writeText(std::string &out, const char *text)
{
    out += '"';
    for (; *text != '\0'; ++text) {
        switch (*text) {
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        case '"':
        case '\\':
            out += '\\';
            out += *text;
            break;
        default: out += *text; break;
        }
    }
    out += '"';
}

void writePair(std::string &out, const char *word, double in, double outside)
{
    if (bitsOf(in) == 0 && bitsOf(outside) == 0) {
        return;
    }
    out += word;
    writeNumber(out, in);
    out += ' ';
    writeNumber(out, outside);
}

void writeKey(std::string &out, const TRK_Segment &after, const TRK_Segment *before)
{
    out += "        key ";
    writeNumber(out, after.getStart());
    out += ' ';
    writeNumber(out, after.getInValue());
    if (before != nullptr && bitsOf(before->getOutValue()) != bitsOf(after.getInValue())) {
        out += " in ";
        writeNumber(out, before->getOutValue());
    }
    // The first key has no side before it; the slope after it is written for both.
    writePair(out, " slope ", before != nullptr ? before->getOutSlope() : after.getInSlope(),
              after.getInSlope());
    writePair(out, " accel ",
              before != nullptr ? before->getOutAcceleration() : after.getInAcceleration(),
              after.getInAcceleration());
    out += after.getExprLanguage() == TRK_LANGUAGE_PYTHON ? " python " : " ";
    if (after.isInterpolated()) {
        out += TRKinterpolatorToString(after.getInterpolator());
    } else {
        writeText(out, after.getExpression());
    }
    out += '\n';
}

void writeChannel(std::string &out, const TRK_Channel &channel)
{
    out += "    channel ";
    out += channel.getName().nonNullStr();
    out += " {\n";
    if (!channel.getAlias().isNull()) {
        out += "        alias ";
        writeText(out, channel.getAlias().nonNullStr());
        out += '\n';
    }
    out += "        default ";
    writeNumber(out, channel.getDefault());
    out += '\n';
    if (!channel.getDefaultString().isEmpty()) {
        out += "        text ";
        out += channel.getDefaultLanguage() == TRK_LANGUAGE_PYTHON ? "python " : "";
        writeText(out, channel.getDefaultString().nonNullStr());
        out += '\n';
    }
    if (channel.getPendingFlag()) {
        out += "        pending ";
        writeNumber(out, channel.getPendingTime());
        out += '\n';
    }
    out += channel.getLocked() ? "        locked\n" : "";
    out += channel.getScope() ? "        scope\n" : "";
    for (int i = 0; i < channel.getNSegments(); ++i) {
        writeKey(out, *channel.getSegment(i), channel.getSegment(i - 1));
    }
    out += "    }\n";
}

} // namespace

bool TRK_Collection::save(std::ostream &stream, bool binary) const
{
    // Text is written in pieces; the binary form starts with the total length.
    constexpr std::size_t thePiece = 65536;
    std::string out = "channels 1.0\n{\n";
    if (myLanguage == TRK_LANGUAGE_PYTHON) {
        out += "    language python\n";
    }
    for (const TRK_Channel *channel : myChannels) {
        writeChannel(out, *channel);
        if (!binary && out.size() >= thePiece) {
            stream.write(out.data(), static_cast<std::streamsize>(out.size()));
            out.clear();
        }
    }
    out += "}\n";
    if (binary) {
        KITwrite(stream, static_cast<uint32_t>(out.size()));
    }
    stream.write(out.data(), static_cast<std::streamsize>(out.size()));
    return KITcheckOutStream(stream, "Channel Save", nullptr);
}

// ---------------------------------------------------------------- //
// Reading
// ---------------------------------------------------------------- //

/// Reads the text form. A channel is changed only at its closing brace.
class TRK_CollectionReader
{
public:
    TRK_CollectionReader(KIT_IStream &stream, TRK_Collection &collection,
                         std::vector<std::string> *comments)
        : myStream(stream), myCollection(collection), myComments(comments), mySource(stream)
    {}

    bool read();

private:
    enum class Kind
    {
        WORD,
        TEXT,
        OPEN,
        CLOSE,
        END
    };

    struct Data
    {
        std::string name;
        std::string alias;
        std::string text;
        TRK_ExprLanguage textLanguage = TRK_LANGUAGE_NATIVE;
        double value = 0.0;
        double pendingTime = 0.0;
        bool pendingFlag = false;
        bool lockFlag = false;
        bool scopeFlag = false;
        std::vector<TRK_FullKey> keys;
    };

    bool next();
    bool readQuoted();
    bool take();
    bool isWord(const char *word) const { return myKind == Kind::WORD && myToken == word; }
    bool expect(Kind kind, const char *what);
    bool parseNumber(double &value);
    bool parsePair(double &in, double &out);
    bool parseBody();
    bool parseChannel();
    bool parseLine(Data &data);
    bool parseKey(Data &data);
    bool parseKeyDetails(TRK_FullKey &key);
    bool finish(Data &data);
    void store(const Data &data);
    bool fail(int code, const std::string &what);
    bool failToken(int code);

    /// The token, or as much of it as is read.
    std::string_view word() const
    {
        const auto from = static_cast<size_t>(myBegin);
        return myStream.bytes().substr(from, static_cast<size_t>(myStream.tellg()) - from);
    }

    KIT_IStream &myStream;
    TRK_Collection &myCollection;
    std::vector<std::string> *myComments; ///< null: nobody asks
    KIT_MessageSource mySource;
    int64_t myBegin = 0; ///< of the token
    std::unordered_set<std::string> myNames;
    std::string myToken;
    Kind myKind = Kind::END;
    bool myHeldFlag = false; ///< the token is read but not consumed
};

bool TRK_CollectionReader::fail(int code, const std::string &what)
{
    const std::string text = "line " + std::to_string(myStream.getLineNumber()) + ": " + what;
    // Of a text that isn't closed, the quote.
    constexpr size_t theQuote = 1;
    const bool openFlag = code == TRK_FILE_END && myKind == Kind::TEXT;
    mySource.setWord(word().substr(0, openFlag ? theQuote : std::string_view::npos));
    KITaddError("TRK", code, text.c_str());
    return false;
}

bool TRK_CollectionReader::failToken(int code)
{
    switch (myKind) {
    case Kind::END: return fail(TRK_FILE_END, "\"}\" is missing");
    case Kind::OPEN: return fail(code, "\"{\"");
    case Kind::CLOSE: return fail(code, "\"}\"");
    default: return fail(code, "\"" + myToken.substr(0, 64) + "\"");
    }
}

/// Reads a token unless one is held. False: an error was reported.
bool TRK_CollectionReader::next()
{
    if (myHeldFlag) {
        return true;
    }
    myToken.clear();
    int c = myStream.peek();
    while (c == '#' || (c >= 0 && BASisBlank(static_cast<char>(c)))) {
        const bool commentFlag = c == '#';
        myBegin = myStream.tellg();
        do {
            myStream.get();
            c = myStream.peek();
        } while (commentFlag && c >= 0 && c != '\n');
        if (commentFlag && myComments) {
            myComments->emplace_back(word());
        }
    }
    myHeldFlag = true;
    myBegin = myStream.tellg();
    if (c < 0) {
        myKind = Kind::END;
        return true;
    }
    if (c == '"') {
        return readQuoted();
    }
    if (c == '{' || c == '}') {
        myStream.get();
        myKind = c == '{' ? Kind::OPEN : Kind::CLOSE;
        return true;
    }
    myKind = Kind::WORD;
    while (c >= 0 && !BASisBlank(static_cast<char>(c)) && c != '{' && c != '}' && c != '"') {
        if (myToken.size() >= theLongestWord) {
            return fail(TRK_FILE_LIMIT, "a word is longer than 1024 bytes");
        }
        if (c == 0) {
            return fail(TRK_FILE_TOKEN, "a byte 0");
        }
        myToken += static_cast<char>(myStream.get());
        c = myStream.peek();
    }
    return true;
}

bool TRK_CollectionReader::readQuoted()
{
    myKind = Kind::TEXT;
    myStream.get();
    for (;;) {
        int c = myStream.get();
        if (c < 0) {
            return fail(TRK_FILE_END, "a text is not closed");
        }
        if (c == '"') {
            return true;
        }
        if (c == '\\') {
            c = myStream.get();
            if (c < 0) {
                return fail(TRK_FILE_END, "a text is not closed");
            }
            c = c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
        }
        if (myToken.size() >= TRK_Limits::theExpressionLength) {
            return fail(TRK_FILE_LIMIT, "a text is longer than 65536 bytes");
        }
        if (c != '\0') {
            myToken += static_cast<char>(c);
        }
    }
}

/// Consumes the held token.
bool TRK_CollectionReader::take()
{
    myHeldFlag = false;
    return true;
}

bool TRK_CollectionReader::expect(Kind kind, const char *what)
{
    if (!next()) {
        return false;
    }
    if (myKind != kind) {
        return myKind == Kind::END
                   ? failToken(TRK_FILE_TOKEN)
                   : fail(TRK_FILE_TOKEN, std::string(what) + " in place of \"" +
                                              (myKind == Kind::OPEN    ? "{"
                                               : myKind == Kind::CLOSE ? "}"
                                                                       : myToken.substr(0, 64)) +
                                              "\"");
    }
    return take();
}

bool TRK_CollectionReader::parseNumber(double &value)
{
    if (!next()) {
        return false;
    }
    if (myKind != Kind::WORD) {
        return failToken(TRK_FILE_NUMBER);
    }
    const size_t prefix = std::strlen(theBitsPrefix);
    if (myToken.compare(0, prefix, theBitsPrefix) == 0) {
        uint64_t bits = 0;
        const char *end = myToken.data() + myToken.size();
        const std::from_chars_result result =
            std::from_chars(myToken.data() + prefix, end, bits, 16);
        if (result.ec != std::errc() || result.ptr != end) {
            return failToken(TRK_FILE_NUMBER);
        }
        std::memcpy(&value, &bits, sizeof(value));
        return take();
    }
    if (!BASisFloat(myToken.c_str())) {
        return failToken(TRK_FILE_NUMBER);
    }
    value = BASparseFloat(myToken.c_str());
    return take();
}

bool TRK_CollectionReader::parsePair(double &in, double &out)
{
    return parseNumber(in) && parseNumber(out);
}

bool TRK_CollectionReader::read()
{
    if (!next()) {
        return false;
    }
    if (!isWord("channels")) {
        return myKind == Kind::END ? fail(TRK_FILE_HEADER, "the text is empty")
                                   : failToken(TRK_FILE_HEADER);
    }
    take();
    if (!next()) {
        return false;
    }
    if (myKind != Kind::WORD || myToken.compare(0, 2, "1.") != 0 || !BASisFloat(myToken.c_str())) {
        return failToken(TRK_FILE_VERSION);
    }
    take();
    return expect(Kind::OPEN, "\"{\"") && parseBody();
}

bool TRK_CollectionReader::parseBody()
{
    while (next()) {
        if (myKind == Kind::CLOSE) {
            return take();
        }
        if (isWord("channel")) {
            take();
            if (!parseChannel()) {
                return false;
            }
        } else if (isWord("language")) {
            take();
            if (!next()) {
                return false;
            }
            if (!isWord("python") && !isWord("native")) {
                return failToken(TRK_FILE_WORD);
            }
            myCollection.setExprLanguage(isWord("python") ? TRK_LANGUAGE_PYTHON
                                                          : TRK_LANGUAGE_NATIVE);
            take();
        } else {
            return failToken(TRK_FILE_WORD);
        }
    }
    return false;
}

bool TRK_CollectionReader::parseChannel()
{
    Data data;
    if (!next()) {
        return false;
    }
    if ((myKind != Kind::WORD && myKind != Kind::TEXT) ||
        !TRK_Collection::isValidChannelName(myToken.c_str()) || !myNames.insert(myToken).second) {
        return failToken(TRK_FILE_NAME);
    }
    data.name = myToken;
    mySource.setSubject(data.name);
    mySource.setOpening(word(), "the channel begins here");
    take();
    if (!expect(Kind::OPEN, "\"{\"")) {
        return false;
    }
    while (next()) {
        if (myKind == Kind::CLOSE) {
            if (!finish(data)) {
                return false;
            }
            take();
            store(data);
            mySource.setSubject({});
            mySource.setOpening({}, nullptr);
            return true;
        }
        if (myKind != Kind::WORD) {
            return failToken(TRK_FILE_WORD);
        }
        if (!parseLine(data)) {
            return false;
        }
    }
    return false;
}

bool TRK_CollectionReader::parseLine(Data &data)
{
    if (isWord("key")) {
        take();
        return parseKey(data);
    }
    if (isWord("default")) {
        take();
        return parseNumber(data.value);
    }
    if (isWord("pending")) {
        take();
        data.pendingFlag = true;
        return parseNumber(data.pendingTime);
    }
    if (isWord("locked") || isWord("scope")) {
        (isWord("locked") ? data.lockFlag : data.scopeFlag) = true;
        return take();
    }
    if (isWord("alias") || isWord("text")) {
        std::string &target = isWord("alias") ? data.alias : data.text;
        take();
        if (!next()) {
            return false;
        }
        if (myKind != Kind::TEXT && myKind != Kind::WORD) {
            return failToken(TRK_FILE_TOKEN);
        }
        const bool languageFlag = &target == &data.text && isWord("python");
        target = myToken;
        take();
        if (!languageFlag) {
            return true;
        }
        // Before a text it is the language, else it was the text.
        if (!next()) {
            return false;
        }
        if (myKind == Kind::TEXT) {
            data.textLanguage = TRK_LANGUAGE_PYTHON;
            target = myToken;
            take();
        }
        return true;
    }
    return failToken(TRK_FILE_WORD);
}

bool TRK_CollectionReader::parseKey(Data &data)
{
    TRK_FullKey key;
    if (!parseNumber(key.time)) {
        return false;
    }
    if (!std::isfinite(key.time)) {
        return fail(TRK_FILE_NUMBER, "a key's time must be finite");
    }
    if (!parseNumber(key.out.value)) {
        return false;
    }
    key.in.value = key.out.value;
    if (!parseKeyDetails(key)) {
        return false;
    }
    data.keys.push_back(std::move(key));
    return true;
}

/// What may follow time and value, in any order; the first keyword of another line ends it.
bool TRK_CollectionReader::parseKeyDetails(TRK_FullKey &key)
{
    while (next()) {
        if (isWord("in")) {
            take();
            if (!parseNumber(key.in.value)) {
                return false;
            }
        } else if (isWord("slope")) {
            take();
            if (!parsePair(key.in.slope, key.out.slope)) {
                return false;
            }
        } else if (isWord("accel")) {
            take();
            if (!parsePair(key.in.acceleration, key.out.acceleration)) {
                return false;
            }
        } else if (isWord("python")) {
            take();
            key.language = TRK_LANGUAGE_PYTHON;
        } else if (myKind == Kind::TEXT ||
                   (myKind == Kind::WORD &&
                    TRKstringToInterpolator(myToken.c_str()) != TRK_INTERP_EXPRESSION)) {
            key.expression = KIT_StringHolder(myToken);
            take();
        } else {
            return true;
        }
    }
    return false;
}

/// Sorts the keys.
bool TRK_CollectionReader::finish(Data &data)
{
    const auto earlier = [](const TRK_FullKey &a, const TRK_FullKey &b) { return a.time < b.time; };
    const auto equal = [](const TRK_FullKey &a, const TRK_FullKey &b) { return a.time == b.time; };
    std::stable_sort(data.keys.begin(), data.keys.end(), earlier);
    const auto twice = std::adjacent_find(data.keys.begin(), data.keys.end(), equal);
    if (twice != data.keys.end()) {
        return fail(TRK_FILE_KEYS, data.name + " at " + KIT_Digits(twice->time).buffer());
    }
    return true;
}

void TRK_CollectionReader::store(const Data &data)
{
    TRK_Channel *channel = myCollection.addChannel(KIT_StringRef(data.name.c_str()));
    channel->myTimes.clear();
    channel->mySegments.clear();
    channel->myTimes.reserve(data.keys.size());
    channel->mySegments.reserve(data.keys.size());
    for (size_t i = 0; i < data.keys.size(); ++i) {
        const TRK_FullKey &key = data.keys[i];
        const TRK_KeySide &far = i + 1 < data.keys.size() ? data.keys[i + 1].in : key.out;
        const double end = i + 1 < data.keys.size() ? data.keys[i + 1].time
                                                    : std::numeric_limits<double>::infinity();
        // Not owned by the channel yet, or each expression would make it search all of them.
        TRK_Segment segment(nullptr, key.time, end);
        segment.setInValue(key.out.value, false);
        segment.setInSlope(key.out.slope, false);
        segment.setInAcceleration(key.out.acceleration, false);
        segment.setOutValue(far.value, false);
        segment.setOutSlope(far.slope, false);
        segment.setOutAcceleration(far.acceleration, false);
        segment.changeExpression(key.expression.c_str(), key.language);
        segment.myChannel = channel;
        channel->myTimes.push_back(key.time);
        channel->mySegments.push_back(std::move(segment));
    }
    channel->setDefault(data.value);
    channel->setDefaultString(data.text.c_str(), data.textLanguage);
    channel->myPendingFlag = data.pendingFlag;
    channel->myPendingTime = data.pendingTime;
    channel->setLocked(data.lockFlag);
    channel->setScope(data.scopeFlag);
    channel->updateTimeFlag();
    channel->tellTextsChanged();
    myCollection.setChannelAlias(channel, KIT_StringRef(data.alias.c_str()));
    channel->setChanged(true, 0);
}

bool TRK_Collection::load(KIT_IStream &stream, std::vector<std::string> *comments)
{
    if (!stream.isBinary()) {
        stream.skipByteOrderMark();
        return TRK_CollectionReader(stream, *this, comments).read();
    }
    const KIT_MessageSource source(stream);
    std::string_view text;
    if (!stream.readText(text)) {
        KITaddError("TRK", TRK_FILE_END, "the length in front of the channels");
        return false;
    }
    KIT_IStream inner(text.data(), text.size(), KIT_IStream::TEXT);
    return TRK_CollectionReader(inner, *this, comments).read();
}
