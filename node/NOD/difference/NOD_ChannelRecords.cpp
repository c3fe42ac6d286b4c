#include <NOD/difference/NOD_ChannelRecordsPrivate.h>

#include <KIT/KIT_IStream.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ValueFile.h>
#include <NOD/files/NOD_LinesPrivate.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Types.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <sstream>
#include <vector>

namespace
{

using Kind = NOD_RecordKind;

constexpr const char *theStart = "channels 1.0\n{\n";
constexpr const char *theEnd = "}\n";
constexpr const char *thePython = "python";

struct Pair
{
    Kind kind;
    const char *word;
};

constexpr Pair thePairs[] = {{Kind::KEY_SLOPE, "slope"}, {Kind::KEY_ACCEL, "accel"}};
constexpr const char *theMarks[] = {"locked", "scope"};

bool isCurve(const std::string &text)
{
    return text.size() > 2 && text.compare(text.size() - 2, 2, "()") == 0 &&
           std::all_of(text.begin(), text.end() - 2, [](char c) { return c >= 'a' && c <= 'z'; });
}

/// The words of a key's line, from its time on.
void readKey(const std::vector<std::string> &words, NOD_Record &channel)
{
    NOD_Record &key = channel.add(Kind::KEY, words[1]);
    key.add(Kind::KEY_VALUE, {}, words[2]);
    for (std::size_t i = 3; i < words.size(); ++i) {
        const auto pair = std::find_if(std::begin(thePairs), std::end(thePairs),
                                       [&](const Pair &one) { return words[i] == one.word; });
        if (words[i] == "in" && i + 1 < words.size()) {
            key.add(Kind::KEY_IN, {}, words[++i]);
        } else if (pair != std::end(thePairs) && i + 2 < words.size()) {
            key.add(pair->kind, "in", words[++i]);
            key.add(pair->kind, "out", words[++i]);
        } else if (words[i] == thePython && i + 1 < words.size()) {
            key.add(Kind::LANGUAGE, {}, words[i]);
        } else {
            key.add(Kind::EXPRESSION, {}, words[i]);
        }
    }
}

void readLine(const std::vector<std::string> &words, NOD_Record &channel)
{
    const std::string &word = words[0];
    const bool markFlag =
        std::find(std::begin(theMarks), std::end(theMarks), word) != std::end(theMarks);
    if (markFlag) {
        channel.add(Kind::MARK, word);
    } else if (word == "key" && words.size() > 2) {
        readKey(words, channel);
    } else if (words.size() < 2) {
        return;
    } else if (word == "alias") {
        channel.add(Kind::CHANNEL_ALIAS, {}, words[1]);
    } else if (word == "default") {
        channel.add(Kind::DEFAULT, {}, words[1]);
    } else if (word == "pending") {
        channel.add(Kind::PENDING, {}, words[1]);
    } else if (word == "text") {
        channel.add(Kind::DEFAULT_TEXT, {}, words.back());
        if (words.size() > 2) {
            channel.add(Kind::TEXT_LANGUAGE, {}, words[1]);
        }
    }
}

std::string wordOf(const NOD_Record &record, Kind kind, std::string_view name = {})
{
    const NOD_Value value = record.valueOf(kind, name);
    const auto *text = std::get_if<std::string>(&value);
    return text ? *text : std::string();
}

double timeOf(const NOD_Record &key)
{
    double time = 0.0;
    NODreadNumber(key.getName(), time);
    return time;
}

std::string keyLine(const NOD_Record &key)
{
    std::string line = "        key " + key.getName() + " " + wordOf(key, Kind::KEY_VALUE);
    if (key.find(Kind::KEY_IN)) {
        line += " in " + wordOf(key, Kind::KEY_IN);
    }
    for (const Pair &pair : thePairs) {
        if (key.find(pair.kind, "in")) {
            line += std::string(" ") + pair.word + " " + wordOf(key, pair.kind, "in") + " " +
                    wordOf(key, pair.kind, "out");
        }
    }
    if (key.find(Kind::LANGUAGE)) {
        line += " " + wordOf(key, Kind::LANGUAGE);
    }
    const std::string expression = wordOf(key, Kind::EXPRESSION);
    return line + " " + (isCurve(expression) ? expression : NODquoted(expression)) + "\n";
}

std::string channelText(const NOD_Record &channel)
{
    std::string text = "    channel " + channel.getName() + " {\n";
    const auto line = [&](const char *word, const std::string &rest) {
        text += std::string("        ") + word + " " + rest + "\n";
    };
    if (channel.find(Kind::CHANNEL_ALIAS)) {
        line("alias", NODquoted(wordOf(channel, Kind::CHANNEL_ALIAS)));
    }
    line("default", wordOf(channel, Kind::DEFAULT));
    if (channel.find(Kind::DEFAULT_TEXT)) {
        const std::string language = wordOf(channel, Kind::TEXT_LANGUAGE);
        line("text", language + (language.empty() ? "" : " ") +
                         NODquoted(wordOf(channel, Kind::DEFAULT_TEXT)));
    }
    if (channel.find(Kind::PENDING)) {
        line("pending", wordOf(channel, Kind::PENDING));
    }
    for (const char *mark : theMarks) {
        text += channel.find(Kind::MARK, mark) ? std::string("        ") + mark + "\n" : "";
    }
    std::vector<const NOD_Record *> keys;
    for (const auto &part : channel.getParts()) {
        if (part->getKind() == Kind::KEY) {
            keys.push_back(part.get());
        }
    }
    std::stable_sort(keys.begin(), keys.end(), [](const NOD_Record *a, const NOD_Record *b) {
        return timeOf(*a) < timeOf(*b);
    });
    for (const NOD_Record *key : keys) {
        text += keyLine(*key);
    }
    return text + "    }\n";
}

} // namespace

bool NODreadChannels(std::string_view bytes, const std::string &name, NOD_Record &contents,
                     NOD_Report &report)
{
    TRK_Collection channels;
    std::ostringstream os;
    {
        const NOD_ReportScope scope(report, name);
        const bool binaryFlag = NOD_ValueFile::isBinary(bytes);
        KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::TEXT);
        is.setBinary(binaryFlag);
        if (!channels.load(is) || !NOD_ValueFile::checkEnd(is, name, report)) {
            return false;
        }
    }
    channels.save(os);
    NOD_Record *channel = nullptr;
    for (const NOD_Line &line : NODreadLines(os.str())) {
        const std::vector<std::string> &words = line.words;
        if (words[0] == "channel" && words.size() > 1) {
            channel = &contents.add(Kind::CHANNEL, words[1]);
        } else if (words[0] == "}") {
            channel = nullptr;
        } else if (channel) {
            readLine(words, *channel);
        } else if (words[0] == "language" && words.size() > 1) {
            contents.add(Kind::LANGUAGE, {}, words[1]);
        }
    }
    return true;
}

std::string NODchannelText(const NOD_Record &contents)
{
    std::string text;
    if (contents.find(Kind::LANGUAGE)) {
        text += "    language " + wordOf(contents, Kind::LANGUAGE) + "\n";
    }
    for (const auto &part : contents.getParts()) {
        text += part->getKind() == Kind::CHANNEL ? channelText(*part) : "";
    }
    return text.empty() ? text : theStart + text + theEnd;
}
