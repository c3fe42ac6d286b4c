// What a list reads: names, unknown entries, the owner's look ahead, and malformed streams.

#include <persistence/StreamList.h>

#include <BAS/BAS_Thread.h>
#include <TRK/TRK_EventManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <tuple>

namespace
{

std::string text(const std::string &entries)
{
    return "{\nversion 0.8\n" + entries + "\n}\n";
}

/// A text entry with one number.
std::string entry(const std::string &token, const std::string &values = "5")
{
    return token + "\t[ 0\tlocks=0 ]\t(\t" + values + "\t)\n";
}

/// A binary entry of a float with one number.
std::string packetEntry(const std::string &token, double value = 5.0)
{
    std::ostringstream number;
    KITwrite(number, value);
    return listPacket(2, bytesOf(token) + listPacket(2, number.str(), "ZEL_Float") +
                             listPacket(0, "", "ZEL_Float"));
}

/// A stream of entries in either form.
std::string streamOf(bool binary, std::initializer_list<const char *> tokens, double value = 5.0)
{
    std::string all;
    for (const char *token : tokens) {
        all += binary ? packetEntry(token, value) : entry(token, KIT_Digits(value).buffer());
    }
    return binary ? all : text(all);
}

const std::string theVersion = listPacket(1, bytesOf(0.8f));
const std::string theEnd = listPacket(0, "");
const std::string theF5 = "t=0,0,0 f=5 n=0 points=0";
const char *const theStart = "t=0,0,0 f=0 n=0 points=0";

/// A stream, whether it loads, the messages and the contents after it.
using Case = std::tuple<std::string, bool, std::string, std::string>;

/// With and without an owner, a stream must have the same result.
void expectLoad(const std::string &data, bool binary, bool loaded, const std::string &messages,
                const std::string &contents, const char *name = nullptr)
{
    LoadOwner owner;
    for (ZEL_ParmOwner *o :
         {static_cast<ZEL_ParmOwner *>(nullptr), static_cast<ZEL_ParmOwner *>(&owner)}) {
        StreamList p(o);
        EXPECT_EQ(p.load(data, binary, name), loaded) << data;
        EXPECT_EQ(takeTexts(), messages) << data;
        EXPECT_EQ(p.contents(), contents) << data;
    }
}

std::multiset<std::string> inAnyOrder(const std::string &contents)
{
    std::istringstream words(contents);
    return {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()};
}

/// Loads anything; the list must then be sound: what it saves loads again, to the same.
void expectSound(const std::string &data, bool binary)
{
    LoadOwner owner;
    StreamList withOwner(&owner);
    const bool loaded = withOwner.load(data, binary);
    const std::string ownerTexts = takeTexts();
    StreamList p;
    ASSERT_EQ(p.load(data, binary), loaded) << "an owner must not change the outcome";
    const std::string texts = takeTexts();
    ASSERT_EQ(texts.empty(), ownerTexts.empty());
    // Looking ahead for an owner makes items earlier, and some that a failed load never reaches.
    if (loaded) {
        ASSERT_EQ(inAnyOrder(p.contents()), inAnyOrder(withOwner.contents()));
    }
    const std::string contents = p.contents();
    const std::string first = p.save();
    ASSERT_TRUE(p.load(first)) << first;
    ASSERT_EQ(p.save(), first);
    ASSERT_TRUE(p.load(p.save(true), true)) << first;
    ASSERT_EQ(p.contents(), contents);
    takeTexts();
}

/// A small stream with an item, a nested one and a channel.
std::string sample(bool binary)
{
    StreamList p;
    p.set("points", 1);
    p.evaluate("points");
    p.set("weights1", 1);
    p.evaluate("weights1");
    p.set("t", 1.5, 0);
    p.set("size1", -0.25);
    const std::string whole = p.save(binary);
    if (!binary) {
        return whole;
    }
    // Without the kinds that hold no numbers, which only make it longer.
    std::string data = theVersion;
    for (const char *token : {"t", "points", "pt1", "size1", "weights1", "w1_1"}) {
        std::ostringstream one;
        p.list.saveSingle(p.list.getParmPtr(token), one, true);
        data += one.str().substr(theVersion.size(), one.str().size() - theVersion.size() - 8);
    }
    return data + theEnd;
}

} // namespace

TEST(ListLoad, Text)
{
    const std::string f5n5 = "t=0,0,0 f=5 n=5 points=0";
    const Case cases[] = {
        {text(""), true, "", theStart},
        {"{ version 0.8", true, "", theStart},
        {"# a comment is no header\n" + text(""), false, "ZEL 9 {", theStart},
        {text("# a comment\n" + entry("f") + "# f [ 0 ] ( 6 )"), true, "", theF5},
        {"{\nversion 0.8\n" + entry("f"), true, "", theF5},
        {text(entry("f")) + entry("n"), true, "", theF5},
        {"", false, "ZEL 9 {", theStart},
        {"version 0.8 }", false, "ZEL 9 {", theStart},
        {"{ 0.8 }", false, "ZEL 9 version", theStart},
        {"{ version", false, "", theStart},
        {"{ version soon }", false, "", theStart},
        {"{ version 0.9 " + entry("f") + "}", true, "ZEL 13", theF5},
        {"{ version 1e40 }", true, "ZEL 13", theStart},
        // Unknown entries
        {text(entry("standardfolder") + entry("stdswitcher2") + entry("f")), true, "", theF5},
        {text(entry("foo") + entry("f")), true, "ZEL 5 foo", theF5},
        {text("foo ( 1 [ 2 ) " + entry("f")), true, "ZEL 5 foo", theF5},
        {text(entry("Standardfolder")), true, "ZEL 5 Standardfolder", theStart},
        {text("foo 5 " + entry("f")), false, "ZEL 5 foo; ZEL 9 (", theStart},
        {text("foo"), false, "ZEL 5 foo; ZEL 9 (", theStart},
        {"{ version 0.8 foo", false, "ZEL 5 foo", theStart},
        {"{ version 0.8 foo [ 0 ] ( 5", false, "ZEL 5 foo", theStart},
        // A parameter that fails leaves the later ones loaded; then tokens are tried as names.
        {text("f 1 " + entry("n", "5")), false, "ZEL 9 (", "t=0,0,0 f=0 n=5 points=0"},
        {text("f 1 " + entry("foo") + entry("n")), false, "ZEL 9 (; ZEL 5 foo; ZEL 5 0; ZEL 9 (",
         theStart},
        {text(entry("f") + entry("t", "1 2 3 4") + entry("n")), true, "ZEL 3  Translate",
         "t=1,2,3 f=5 n=5 points=0"},
        {text(entry("f") + entry("n")), true, "", f5n5},
        {text(entry("rule", "") + entry("on") + entry("text") + entry("dict") + entry("f")), true,
         "", theF5},
    };
    for (const auto &[data, loaded, messages, contents] : cases) {
        StreamList p;
        EXPECT_EQ(p.load(data), loaded) << data;
        EXPECT_EQ(takeTexts(), messages) << data;
        EXPECT_EQ(p.contents(), contents) << data;
    }
    StreamList named;
    EXPECT_FALSE(named.load("", false, "scene"));
    EXPECT_FALSE(named.load(text("foo 5"), false, "scene"));
    EXPECT_EQ(takeTexts(), "ZEL 9 { (scene); ZEL 5 foo; ZEL 9 ( (scene)");
}

TEST(ListLoad, AnErrorFromBeforeMakesItFalseAndEndsABinaryLoad)
{
    for (const bool binary : {false, true}) {
        StreamList p;
        KITaddError("ZEL", 9, "before");
        EXPECT_FALSE(p.load(binary ? theVersion + packetEntry("f") : text(entry("f")), binary));
        EXPECT_EQ(p.evaluate("f"), binary ? 0.0 : 5.0);
        takeTexts();
    }
}

TEST(ListLoad, Binary)
{
    const std::string unloadable = listPacket(2, bytesOf("f") + listPacket(2, "12345678", "other"));
    const Case cases[] = {
        {"", true, "", theStart},
        {theVersion + packetEntry("f") + theEnd, true, "", theF5},
        {packetEntry("f"), true, "", theF5},
        {theEnd + packetEntry("f"), true, "", theStart},
        {listPacket(7, "abc", "other") + packetEntry("f"), true,
         "Common 7 Parameter List Load: scene", theF5},
        {listPacket(9, "abc") + packetEntry("f"), true, "Common 8 scene", theF5},
        {listPacket(1, bytesOf(0.9f)) + packetEntry("f"), true, "ZEL 13 scene", theF5},
        {listPacket(1, "abc") + packetEntry("f"), false, "", theStart},
        {listPacket(2, "abc") + packetEntry("f"), false, "", theStart},
        {listPacket(2, bytesOf("f").substr(0, 4)) + packetEntry("f"), false, "", theStart},
        {packetEntry("foo") + packetEntry("f"), true, "ZEL 5 foo: (scene)", theF5},
        {packetEntry("") + packetEntry("f"), true, "ZEL 5 : (scene)", theF5},
        {packetEntry("stdswitcher2") + packetEntry("standardfolder") + packetEntry("f"), true, "",
         theF5},
        {unloadable + packetEntry("n"), false, "Common 7 Float Parameter Load", theStart},
        {packetEntry("f") + "\1\2\3", false, "Common 9 header cut short", theF5},
        {packetEntry("f") + packetEntry("n").substr(0, 30), false,
         "Common 9 length beyond the data", theF5},
    };
    for (const auto &[data, loaded, messages, contents] : cases) {
        expectLoad(data, true, loaded, messages, contents, "scene");
    }
    StreamList p;
    EXPECT_TRUE(p.load(listPacket(7, "", "other") + listPacket(9, "") + packetEntry("foo") +
                           listPacket(1, bytesOf(0.9f)),
                       true));
    EXPECT_EQ(takeTexts(), "Common 7 Parameter List Load: wrong ID; Common 8 Parameter List Load; "
                           "ZEL 5 foo; ZEL 13");

    ZEL_Name none("", "");
    ZEL_Template nameless[] = {ZEL_Template(ZEL_FLT, 1, &none), ZEL_Template()};
    ZEL_ParmList list(nameless, nullptr, nullptr, nullptr, "", false);
    const std::string entry = packetEntry("");
    KIT_IStream is(entry.data(), entry.size(), KIT_IStream::BINARY);
    EXPECT_TRUE(list.load(is, nullptr, nullptr));
    EXPECT_NE(takeTexts(), "");
    double value = 1.0;
    list.getParmPtr(0)->getValue(0.0, value, 0, BASgetSTID());
    EXPECT_EQ(value, 0.0) << "an empty name finds no parameter";
}

TEST(ListLoad, TheUsualFormAndAnyOtherSayTheSame)
{
    // The same entry, written as save writes it and in forms that only a general reader knows.
    const auto word = [](int id, std::uint32_t value) {
        std::ostringstream os;
        KITwrite(os, value);
        return listPacket(id, os.str() + (id == 3 ? std::string(8, '\0') : ""), "ZEL_Float");
    };
    const std::string value = packetEntry("f").substr(13, 16);
    const std::string end = listPacket(0, "", "ZEL_Float");
    const std::string label = listPacket(6, bytesOf(""), "ZEL_Float");
    const std::string inOrder = word(3, 8) + word(4, 1) + label + value + end;
    const std::string binaries[] = {
        inOrder,
        word(4, 1) + word(3, 8) + label + value + end,
        word(3, 8) + word(4, 1) + value + end,
        word(3, 8) + word(4, 1) + label + value,
    };
    std::string first;
    for (const std::string &body : binaries) {
        StreamList p;
        EXPECT_TRUE(p.load(listPacket(2, bytesOf("f") + body) + packetEntry("n"), true));
        std::ostringstream os;
        p.list.saveSingle(p.list.getParmPtr("f"), os, true);
        first = first.empty() ? os.str() : first;
        EXPECT_EQ(os.str(), first);
        EXPECT_EQ(p.contents(), "t=0,0,0 f=5 n=5 points=0");
        EXPECT_TRUE(p.instance("f").getLockedFlag(0) && p.instance("f").getExpressionState());
    }
    const char *const texts[] = {"[ 0\tlocks=0 ]\t(\t5\t)", "[ 0\tlocks=0 ]\n(\t5\t)",
                                 "[ 0 locks=0 ] ( 5 )", "[ locks=0 0 ] ( 5.0 )", "( +5e0 )"};
    for (const char *body : texts) {
        StreamList p;
        p.instance("n").setLockedFlag(0, true);
        EXPECT_TRUE(p.load(text(std::string("f\t") + body)));
        EXPECT_EQ(p.contents(), theF5) << body;
        EXPECT_TRUE(p.load(text(std::string("n\t") + body)));
        EXPECT_EQ(p.instance("n").getLockedFlag(0), body[0] == '(') << body;
    }
    EXPECT_EQ(takeTexts(), "");
}

TEST(ListLoad, AnEntryIsReadUpToItsBracket)
{
    // As save writes it or with other white space, plain or locked, never animated or once.
    for (const bool wasAnimated : {false, true}) {
        for (const char *token : {"t", "f", "n", "on", "text"}) {
            StreamList p;
            ZEL_Instance &instance = p.instance(token);
            for (const bool locked : {false, true}) {
                p.list.setInt(1, token, 0, 0.0, false);
                instance.setLockedFlag(0, locked);
                std::ostringstream os;
                instance.save(os, 0, false);
                std::string other = os.str();
                std::replace(other.begin(), other.end(), '\t', ' ');
                for (const std::string &body : {os.str(), other}) {
                    instance.setLockedFlag(0, false);
                    p.list.setInt(2, token, 0, 0.0, false);
                    if (wasAnimated) {
                        instance.addChannel(0);
                        instance.removeChannel(0);
                    }
                    const std::string data = body + "next";
                    KIT_IStream is(data.data(), data.size(), KIT_IStream::TEXT);
                    EXPECT_TRUE(instance.load(is)) << data;
                    EXPECT_EQ(is.rest(), "\nnext") << data;
                    EXPECT_EQ(p.list.evalInt(token, 0, 0.0), 1) << data;
                    EXPECT_EQ(instance.getLockedFlag(0), locked) << data;
                }
            }
        }
    }
    EXPECT_EQ(takeTexts(), "");
}

TEST(ListLoad, NamesOfItemsGrowTheirMulti)
{
    const std::string grown =
        "t=0,0,0 f=0 n=0 points=3 pt1=0,0,0 size1=0 weights1=0 pt2=0,0,0 size2=0 weights2=0 "
        "pt3=0,0,0 size3=5 weights3=0";
    for (const bool binary : {false, true}) {
        const auto one = [&](const char *token) { return streamOf(binary, {token}); };
        expectLoad(one("size3"), binary, true, "", grown);
        expectLoad(one("size0"), binary, true, "ZEL 5 size0", theStart);
        expectLoad(one("size"), binary, true, "ZEL 5 size", theStart);
        expectLoad(one("w1_2"), binary, true, "ZEL 5 w1_2", theStart);
    }
    // The level above has to exist first; then the nested one grows.
    const std::string nested =
        "t=0,0,0 f=0 n=0 points=1 pt1=0,0,0 size1=5 weights1=2 w1_1=0 w1_2=5";
    StreamList p;
    EXPECT_TRUE(p.load(text(entry("size1") + entry("w1_2"))));
    EXPECT_EQ(p.contents(), nested);
    EXPECT_EQ(takeTexts(), "");
}

TEST(ListLoad, CountsFollowTheStream)
{
    StreamList p;
    p.fill();
    const std::string before = p.contents();
    for (const bool binary : {false, true}) {
        const std::string data = p.save(binary);
        StreamList q;
        EXPECT_TRUE(q.load(data, binary));
        EXPECT_EQ(q.contents(), before);
        EXPECT_TRUE(q.load(streamOf(binary, {"points"}, 1.0), binary));
        EXPECT_EQ(q.list.getParmIndex("pt2"), -1);
        EXPECT_TRUE(q.load(data, binary));
        EXPECT_EQ(q.contents(), before);
    }
    EXPECT_EQ(takeTexts(), "");
}

TEST(ListLoad, AFewBytesDoNotFillTheMemory)
{
    for (const bool binary : {false, true}) {
        for (const double count : {2147483647.0, 1e300, -5.0}) {
            StreamList p;
            EXPECT_EQ(p.load(streamOf(binary, {"points"}, count), binary), count < 0.0) << count;
            EXPECT_EQ(p.instance("points").getMultiParmNumItems(), 0) << count;
            EXPECT_EQ(takeTexts().find("ZEL_MAX_STREAM_ITEMS") != std::string::npos, count > 0.0);
        }
        for (const char *token : {"pt2147483647", "pt2147483646", "pt4294967297",
                                  "pt99999999999999999999", "w99999999999999999999_1", "pt-5"}) {
            StreamList p;
            p.load(streamOf(binary, {token}), binary);
            EXPECT_EQ(p.contents(), theStart) << token;
            EXPECT_NE(takeTexts(), "") << token;
        }
    }
}

/// Everything that can take an entry, and every other name for it, in all three saved forms.
TEST(ListLoad, ANameIsTakenByTheFirstThatKnowsItUnderItsOwnOrItsOtherName)
{
    const char *const tokens[] = {"f", "size2", "old", "foo", "bar"};
    std::vector<ZEL_Name> names;
    names.reserve(std::size(tokens));
    std::vector<ZEL_Template> all;
    for (const char *token : tokens) {
        names.emplace_back(token, token);
        all.emplace_back(ZEL_FLT, 1, &names.back());
    }
    all.emplace_back();
    ZEL_Template others[] = {all[0], all[1], all[2], ZEL_Template()};
    std::mt19937 random(11);
    for (int i = 0; i < 600; ++i) {
        const int form = i % 3; // text, packets, undo
        const bool hasFallback = random() % 4 != 0;
        ZEL_ParmList source(all.data(), nullptr, nullptr, nullptr, "", false);
        ZEL_ParmList fallback(others, nullptr, nullptr, nullptr, "", false);
        LoadOwner owner;
        std::map<std::string, std::string> renamed;
        for (unsigned n = random() % 3; n > 0; --n) {
            renamed[tokens[random() % 5]] = tokens[random() % 5];
        }
        owner.renamed.assign(renamed.begin(), renamed.end());
        const auto takerOf = [&](const std::string &name) {
            return name == "f" || name == "size2" ? "list " + name
                   : name == "old" && hasFallback ? "fallback " + name
                                                  : std::string();
        };
        std::string data, reported, program;
        std::set<std::string> takers;
        ZEL_UndoDataArray undo;
        for (unsigned n = 1 + random() % 3; n > 0; --n) {
            const std::string name = tokens[random() % 5];
            program += name + " ";
            data += form == 0 ? entry(name) : packetEntry(name);
            source.setFloat(5.0, name.c_str(), 0, 0.0, false);
            source.saveSingleUndoData(source.getParmPtr(name.c_str()), undo);
            std::string taker = takerOf(name);
            if (taker.empty() && renamed.count(name)) {
                taker = takerOf(renamed[name]);
            }
            takers.insert(taker);
            reported += taker.empty() ? (reported.empty() ? "ZEL 5 " : "; ZEL 5 ") + name : "";
        }
        StreamList p(&owner);
        ZEL_ParmList *const second = hasFallback ? &fallback : nullptr;
        if (form == 2) {
            p.list.loadUndoData(undo, nullptr, second);
            reported.clear();
        } else {
            EXPECT_TRUE(p.load(form == 0 ? text(data) : data, form == 1, nullptr, second));
        }
        for (const auto &[from, to] : owner.renamed) {
            program += from + "->" + to + " ";
        }
        const auto valueOf = [](ZEL_ParmList &list, const char *name) {
            return list.getParmIndex(name) < 0 ? 0.0 : list.evalFloat(name, 0, 0.0);
        };
        for (const char *name : {"f", "size2", "old"}) {
            const auto expected = [&](const char *where) {
                return takers.count(where + std::string(name)) ? 5.0 : 0.0;
            };
            EXPECT_EQ(valueOf(p.list, name), expected("list ")) << form << ": " << program;
            EXPECT_EQ(valueOf(fallback, name), expected("fallback ")) << form << ": " << program;
        }
        EXPECT_EQ(takeTexts(), reported) << form << ": " << program;
    }
}

TEST(ListLoad, TheOwnerIsOfferedUnknownNames)
{
    ZEL_Name old("old", "Old");
    ZEL_Template templates[] = {ZEL_Template(ZEL_FLT, 1, &old), ZEL_Template()};
    for (const bool binary : {false, true}) {
        ZEL_ParmList fallback(templates, nullptr, nullptr, nullptr, "", false);
        const std::string data =
            streamOf(binary, {"foo", "f", "size2", "foo", "standardfolder", "old"});
        LoadOwner owner;
        owner.renamed = {{"foo", "n"}};
        StreamList p(&owner);
        EXPECT_TRUE(p.load(data, binary, "scene", &fallback));
        EXPECT_EQ(owner.offered, "foo foo standardfolder") << "in order, twice what stands twice";
        EXPECT_EQ(p.evaluate("n"), 5.0) << "loaded under its other name";
        EXPECT_EQ(p.evaluate("size2"), 5.0);
        EXPECT_EQ(takeTexts(), "");

        owner.offered.clear();
        EXPECT_TRUE(p.load(streamOf(binary, {"f"}), binary));
        EXPECT_EQ(owner.offered, "") << "not asked when all is known";
    }
}

TEST(ListLoad, ARefusedConversionIsAWarning)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"", nullptr, "Common 7 Parameter List Load Conversion Error"},
        {"no luck", nullptr, "Common 7 Parameter List Load Conversion Error - no luck"},
        {"", "scene", "Common 7 Parameter List Load Conversion Error (scene)"},
        {"no luck", "scene", "Common 7 Parameter List Load Conversion Error (scene) - no luck"},
    };
    for (const auto &[errors, name, message] : cases) {
        LoadOwner owner;
        owner.accepts = false;
        owner.errors = errors;
        StreamList p(&owner);
        EXPECT_TRUE(p.load(text(entry("stdswitcher1") + entry("f")), false, name));
        EXPECT_EQ(takeTexts(), message);
        EXPECT_EQ(p.evaluate("f"), 5.0);
    }
}

TEST(ListLoad, WordsOfNewerBodiesAreOffered)
{
    LoadOwner owner;
    StreamList p(&owner);
    EXPECT_TRUE(p.load("{ version 0.9 a ( x ( y ( ) }"));
    EXPECT_EQ(owner.offered, "a x y )");
    EXPECT_EQ(takeTexts(), "ZEL 13; ZEL 5 a");
}

TEST(ListLoad, ChannelsEventsAndTimeDependence)
{
    static int theEvents;
    static int theDepth;
    theEvents = theDepth = 0;
    StreamList p;
    p.channels.addChannel("wrong")->initializeFirstSegment("$F", TRK_LANGUAGE_NATIVE);
    p.list.setEventHandler(nullptr, [](void *, TRK_CHANGE_TYPE, int) {
        ++theEvents;
        theDepth = TRKgetEventManager().depth();
    });
    p.list.clearTimeDependent();
    EXPECT_TRUE(p.load(text(entry("f", "wrong") + entry("n"))));
    EXPECT_GT(theEvents, 0);
    EXPECT_EQ(theDepth, 1) << "channel events wait for the end of the load";
    EXPECT_EQ(TRKgetEventManager().depth(), 0);
    ASSERT_NE(p.instance("f").getChannel(0), nullptr);
    EXPECT_EQ(p.instance("f").getChannel(0)->getName(), "f") << "takes its component's name";
    EXPECT_TRUE(p.list.isTimeDependent());
    takeTexts();
}

TEST(ListLoad, ParametersOfNoKindAreNotThere)
{
    ZEL_Name none("none", "None"), f("f", "Fraction");
    ZEL_Type odd = ZEL_FLT;
    odd.clear(ZEL_TYPE_FLOAT);
    odd |= ZEL_TYPE_INVISIBLE;
    ZEL_Template templates[] = {ZEL_Template(odd, 1, &none), ZEL_Template(ZEL_FLT, 1, &f),
                                ZEL_Template()};
    ZEL_ParmList list(templates, nullptr, nullptr, nullptr, "", false);
    ASSERT_EQ(list.getParmPtr("none")->getInstance(), nullptr);
    std::ostringstream os;
    list.save(os, false, false);
    list.saveSingle(list.getParmPtr("none"), os, false);
    EXPECT_EQ(os.str(), "{\nversion 0.8\n" + entry("f", "0") + "}\n{\nversion 0.8\n}\n");
    EXPECT_TRUE(loadList(list, text(entry("none") + entry("f"))));
    EXPECT_EQ(takeTexts(), "ZEL 5 none");
    EXPECT_EQ(list.evalFloat("f", 0, 0.0), 5.0);
}

TEST(ListLoad, EveryTruncationAndEveryChangedByteLeavesASoundList)
{
    for (const bool binary : {false, true}) {
        const std::string whole = sample(binary);
        for (std::size_t i = 0; i <= whole.size(); ++i) {
            SCOPED_TRACE(i);
            ASSERT_NO_FATAL_FAILURE(expectSound(whole.substr(0, i), binary));
            const char byte = whole[i]; // a NUL at the end
            const char changes[] = {
                '\0', '\xff', char(byte ^ 1), char(byte ^ 0x80), '(', ')', '[', ']', '}', '9',
                ' ',  '"'};
            for (const char change : changes) {
                std::string data = whole;
                data.replace(i, 1, 1, change);
                ASSERT_NO_FATAL_FAILURE(expectSound(data, binary));
            }
        }
    }
}

TEST(ListLoad, LongAndDeepInput)
{
    std::string brackets;
    for (int i = 0; i < 100000; ++i) {
        brackets += "[ ( ";
    }
    const std::string longName(1 << 20, 'n');
    StreamList p;
    EXPECT_FALSE(p.load("{ version 0.8 f " + brackets));
    EXPECT_FALSE(p.load("{ version 0.8 foo " + brackets));
    takeTexts();
    EXPECT_TRUE(p.load(text(entry(longName) + entry("f"))));
    EXPECT_EQ(takeTexts(), "ZEL 5 " + longName);
    EXPECT_TRUE(p.load(packetEntry(longName + "1") + packetEntry("n"), true));
    EXPECT_EQ(takeTexts(), "ZEL 5 " + longName + "1");
    EXPECT_EQ(p.contents(), "t=0,0,0 f=5 n=5 points=0");

    // Packets in packets: only the outermost belongs to a parameter.
    std::string nest;
    for (int i = 0; i < 500; ++i) {
        nest = listPacket(2, bytesOf("f") + nest);
    }
    EXPECT_FALSE(p.load(nest, true));
    EXPECT_EQ(takeTexts(), "Common 7 Float Parameter Load");
}
