// Streams that end too early or take no more, at every byte: lists, presets, channels, scripts, data
// files of menus.

#include "FaultNode.h"

#include <KIT/KIT_IFStream.h>
#include <ZEL/ZEL_FileMenu.h>
#include <scripts/DialogText.h>

#include <functional>
#include <set>

namespace
{

struct Form
{
    const char *name;
    bool binary;
    bool compact;
};

constexpr Form theForms[] = {
    {"text", false, false}, {"binary", true, false}, {"compact", true, true}};

/// A state word of a stream that an application hands over.
constexpr std::ios::iostate theBadStates[] = {std::ios::failbit, std::ios::badbit,
                                              std::ios::eofbit};

/// Runs `save` on targets that take 0, 1, 2 ... bytes: each failure is reported, nothing is written that
/// isn't the start of the whole, and the last target takes it all.
void expectEveryFailureTold(const std::function<bool(std::ostream &)> &save)
{
    std::ostringstream good;
    ASSERT_TRUE(save(good));
    ASSERT_FALSE(takeError());
    const std::string whole = good.str();
    for (const auto way : {LimitedTarget::FAILS, LimitedTarget::THROWS}) {
        for (std::size_t room = 0; room <= whole.size(); ++room) {
            LimitedTarget target(room, way);
            std::ostream os(&target);
            ASSERT_EQ(save(os), room == whole.size()) << room;
            ASSERT_EQ(takeError(), room < whole.size()) << room;
            ASSERT_EQ(target.taken, whole.substr(0, target.taken.size())) << room;
            ASSERT_EQ(os.good(), room == whole.size()) << room;
        }
    }
}

/// `told`: by a message; else the caller of the save has that to do.
void expectNothingInBadStreams(const std::function<bool(std::ostream &)> &save, bool told = true)
{
    for (const std::ios::iostate state : theBadStates) {
        std::ostringstream os;
        os.setstate(state);
        EXPECT_FALSE(save(os)) << state;
        EXPECT_EQ(os.str(), "");
        EXPECT_TRUE(takeMessages() == "Common 10" || !told) << state;
    }
}

} // namespace

TEST(FailureLoops, EveryFailedWriteIsTold)
{
    FaultNode p(1);
    ZEL_PresetInfo presets("Node", "fault");
    const FaultNode::State before = p.state();
    for (const Form &form : theForms) {
        SCOPED_TRACE(form.name);
        const auto save = [&](std::ostream &os) {
            p.list().save(os, form.binary, form.compact);
            return os.good();
        };
        ASSERT_NO_FATAL_FAILURE(expectEveryFailureTold(save));
        expectNothingInBadStreams(save);
    }
    const auto preset = [&](std::ostream &os) { return presets.savePreset(&p.list(), os); };
    ASSERT_NO_FATAL_FAILURE(expectEveryFailureTold(preset));
    expectNothingInBadStreams(preset, false);
    const auto channels = [&](std::ostream &os) { return p.node.getChannels().save(os); };
    ASSERT_NO_FATAL_FAILURE(expectEveryFailureTold(channels));
    expectNothingInBadStreams(channels);
    EXPECT_EQ(p.state(), before) << "a failed save changes nothing";

    KIT_IFStream nowhere("/nowhere/at/all");
    EXPECT_FALSE(p.list().load(nowhere, "nowhere", nullptr));
    EXPECT_TRUE(takeError());
    EXPECT_EQ(p.state(), before) << "nor does a file that isn't there";
}

TEST(FailureLoops, EveryCutOfAListKeepsTheRest)
{
    FaultNode source(2);
    const FaultNode::State after = source.state();
    const FaultNode::State before = FaultNode(1).state();
    for (const auto &[token, text] : after) {
        const bool isMulti = token == "blocks" || token.substr(0, 6) == "nested";
        ASSERT_TRUE(isMulti || text != before.at(token)) << token << " wouldn't tell";
    }
    for (const Form &form : theForms) {
        SCOPED_TRACE(form.name);
        const std::string whole = source.save(form.binary, form.compact);
        const std::vector<Entry> entries =
            form.binary ? entriesOfBinary(whole) : entriesOfText(whole);
        ASSERT_EQ(entries.size(), after.size());
        for (std::size_t length = 0; length < whole.size(); ++length) {
            FaultNode p(1);
            const bool loaded = p.load(whole.substr(0, length), form.binary);
            const bool isError = takeError();
            // An end between two packets or entries is no failure, nor is one after a version that
            // can be read.
            const bool isHeaderRead = form.binary ? length == 0 || length >= entries[0].begin
                                                  : length > whole.find("0.8");
            const bool isLastCut = form.binary && length > entries.back().end;
            const bool isBetween =
                isHeaderRead && !isLastCut &&
                std::none_of(entries.begin(), entries.end(), [&](const Entry &entry) {
                    return entry.begin < length && length < entry.end;
                });
            ASSERT_EQ(loaded, isBetween) << length;
            ASSERT_FALSE(loaded && isError) << length;
            FaultNode::State now = p.state();
            ASSERT_NO_FATAL_FAILURE(expectReached(entries, length, now, before, after));
            const std::string saved = p.save(form.binary, form.compact);
            ASSERT_FALSE(takeError()) << length;
            ASSERT_TRUE(p.load(saved, form.binary)) << length;
            ASSERT_EQ(p.state(), now) << length;
            ASSERT_TRUE(p.load(whole, form.binary)) << length;
            ASSERT_EQ(p.save(form.binary, form.compact), whole) << length;
        }
    }
}

TEST(FailureLoops, EveryCutOfAPresetKeepsTheRest)
{
    FaultNode source(2, 2);
    ZEL_PresetInfo presets("Node", "fault");
    std::ostringstream os;
    ASSERT_TRUE(presets.savePreset(&source.list(), os));
    const std::string whole = os.str();
    const FaultNode::State after = source.state();
    const FaultNode::State withNewChannels = FaultNode(1, 2).state();
    const std::size_t channels = whole.find("channels\n");
    const std::size_t values = whole.find("values\n");
    std::vector<Entry> entries = entriesOfText(whole.substr(values + 7));
    for (Entry &entry : entries) {
        entry.begin += values + 7;
        entry.end += values + 7;
    }
    for (std::size_t length = 0; length < whole.size(); ++length) {
        FaultNode p(1);
        const FaultNode::State before = p.state();
        const std::string channelsBefore = p.channels();
        const std::string data = whole.substr(0, length);
        KIT_IStream is(data.data(), data.size(), KIT_IStream::TEXT);
        const bool loaded = presets.loadPreset(&p.list(), is);
        const bool isError = takeError();
        ASSERT_FALSE(loaded && isError) << length;
        FaultNode::State now = p.state();
        if (length <= channels) {
            ASSERT_EQ(now, before) << length;
            ASSERT_EQ(p.channels(), channelsBefore);
        } else if (length <= values) {
            // What a parameter saves, not what its channels make of it.
            for (const auto &[token, text] : now) {
                ASSERT_EQ(text.substr(0, text.find('|')),
                          before.at(token).substr(0, before.at(token).find('|')))
                    << length;
            }
        } else {
            ASSERT_EQ(p.channels(), source.channels());
            ASSERT_NO_FATAL_FAILURE(expectReached(entries, length, now, withNewChannels, after));
        }
        std::ostringstream saved;
        ASSERT_TRUE(presets.savePreset(&p.list(), saved)) << length;
        KIT_IStream again(whole.data(), whole.size(), KIT_IStream::TEXT);
        ASSERT_TRUE(presets.loadPreset(&p.list(), again)) << length;
        ASSERT_EQ(p.state(), after) << length;
    }
}

TEST(FailureLoops, EveryCutOfChannelsKeepsTheRest)
{
    const auto sample = [](int variant) {
        TRK_Collection channels;
        for (const char *name : {"tx", "ty", "tz"}) {
            TRK_Channel *const channel = channels.addChannel(name);
            channel->setDefault(variant);
            channel->setKeyValue(3.0 * variant, 0.0, false, true, false);
            channel->setKeyString("ch(\"tx\") * 2", 1.0, false, true, false);
        }
        std::ostringstream os;
        EXPECT_TRUE(channels.save(os));
        return os.str();
    };
    const std::string oldText = sample(1);
    const std::string newText = sample(2);
    const auto partOf = [](const std::string &text, const std::string &name) {
        const std::size_t begin = text.find("    channel " + name);
        return text.substr(begin, text.find("\n    }\n", begin) + 7 - begin);
    };
    for (std::size_t length = 0; length + 1 < newText.size(); ++length) {
        TRK_Collection channels;
        KIT_IStream first(oldText.data(), oldText.size(), KIT_IStream::TEXT);
        ASSERT_TRUE(channels.load(first));
        KIT_IStream cut(newText.data(), length, KIT_IStream::TEXT);
        ASSERT_FALSE(channels.load(cut)) << length;
        ASSERT_TRUE(takeError()) << length;
        std::ostringstream os;
        ASSERT_TRUE(channels.save(os));
        for (const char *name : {"tx", "ty", "tz"}) {
            const std::string part = partOf(newText, name);
            const bool isRead = newText.find(part) + part.size() - 1 <= length;
            ASSERT_EQ(partOf(os.str(), name), isRead ? part : partOf(oldText, name)) << length;
        }
        KIT_IStream again(newText.data(), newText.size(), KIT_IStream::TEXT);
        ASSERT_TRUE(channels.load(again)) << length;
    }
}

TEST(FailureLoops, EveryCutOfAScriptIsTold)
{
    const std::string whole = R"({
    name page
    label "A page"
    #define WIDE 3
    help { "one" "two" }
    parm { name move label "Move" type vector size WIDE default { 1 2 [ "$T" expression ] } range { 0! 10 } }
    group { name folder label "Folder" grouptag { "kind" "tab" }
        parm { name mode label Mode type ordinal menu { "a" "First" "b" "Second" } }
        parm { name file label File type file disablewhen "{ mode == a }" parmtag { "k" "v" } }
    }
    multiparm { name blocks label Blocks default 2
        parm { name "at#" label "At" type float default { "#" } }
    }
})";
    const Dialog good(whole);
    ASSERT_TRUE(good.okFlag) << good.messages;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const std::string text = whole.substr(0, length);
        SCOPED_TRACE(text);
        const Dialog cut(text);
        ASSERT_FALSE(cut.okFlag);
        // That one of these blocks doesn't open is reported by the caller of the parser.
        const std::string last = text.substr(text.find_last_of(" \n", length - 2) + 1);
        const std::string word = last.substr(0, last.find(' '));
        const std::set<std::string> silent = {"help", "parm", "default", "range"};
        ASSERT_TRUE(!cut.messages.empty() || silent.count(word) != 0) << word;
        // What was read before is sound, and a list of it works.
        TRK_Collection channels;
        ZEL_ParmList list(cut.templates.get(), &channels, nullptr, nullptr, "", false);
        std::ostringstream os;
        list.save(os, false, false);
        for (int i = 0; i < list.getEntries(); ++i) {
            list.evalFloat(list.getParmPtr(i)->getToken(), 0, 0.0);
        }
        ASSERT_LE(cut.count, good.count);
        KITgetErrorManager().clearAndDestroyErrors();
    }
}

TEST(FailureLoops, EveryCutOfADataFileKeepsItsRows)
{
    const std::string whole = "first \"One\"\n# comment\nsecond \"Two words\"\nlast\nthird '3'\n";
    const auto rows = [](const std::string &text) {
        ZEL_FileMenu menu(ZEL_FileMenu::IMAGE);
        KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
        menu.readRows(is);
        std::vector<std::string> all;
        for (int i = 0; i < menu.getNumRows(); ++i) {
            all.push_back(std::string(menu.getRow(i)->getToken()) + "=" +
                          menu.getRow(i)->getLabel());
        }
        return all;
    };
    const std::vector<std::string> good = rows(whole);
    ASSERT_GE(good.size(), 3u);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const std::vector<std::string> cut = rows(whole.substr(0, length));
        ASSERT_LE(cut.size(), good.size()) << length;
        // All but the row that is cut.
        for (std::size_t i = 0; i + 1 < cut.size(); ++i) {
            ASSERT_EQ(cut[i], good[i]) << length;
        }
    }
}
