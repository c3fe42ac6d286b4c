// The language server: what it keeps of a document is what a fresh one has, frames lose no message, and what is
// too large or nonsense is answered. Sessions of the tool are in tests/tool/lsp.

#include "ServerClient.h"

#include <NOD/NOD_MessageFrames.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace
{

using Json = ServerClient::Json;

std::string fileText(const std::string &path)
{
    std::ifstream is(ZEL_TESTS_DIR "/../" + path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(is), {});
}

// ---------------------------------------------------------------------- //
// Positions, as the protocol describes them
// ---------------------------------------------------------------------- //

bool isPlace(const std::string &text, std::size_t at)
{
    const bool inCharacter = at < text.size() && (text[at] & 0xc0) == 0x80;
    const bool inLineEnd = at > 0 && at < text.size() && text[at - 1] == '\r' && text[at] == '\n';
    return !inCharacter && !inLineEnd;
}

Json positionOf(const std::string &text, std::size_t offset, bool utf8)
{
    int line = 0;
    int unit = 0;
    for (std::size_t at = 0; at < offset; ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const bool endFlag =
            byte == '\n' || (byte == '\r' && (at + 1 == text.size() || text[at + 1] != '\n'));
        if (endFlag) {
            ++line;
            unit = 0;
        } else if (utf8) {
            ++unit;
        } else if ((byte & 0xc0) != 0x80) {
            unit += byte >= 0xf0 ? 2 : 1;
        }
    }
    return {{"line", line}, {"character", unit}};
}

/// A text that is edited at random places, as an editor does it.
class Edited
{
public:
    Edited(std::string text, unsigned seed) : myText(std::move(text)), myRandom(seed) {}

    const std::string &text() const { return myText; }
    std::size_t below(std::size_t count) { return myRandom() % count; }
    std::size_t place()
    {
        std::size_t at = below(myText.size() + 1);
        while (!isPlace(myText, at)) {
            --at;
        }
        return at;
    }
    Json edit(const std::vector<std::string> &pieces, bool utf8)
    {
        const std::size_t begin = place();
        std::size_t end = begin;
        if (below(3) == 0) {
            end = std::min(begin + below(60), myText.size());
            while (!isPlace(myText, end)) {
                ++end;
            }
        }
        std::string text;
        for (std::size_t i = below(3) + (begin == end ? 1 : 0); i > 0; --i) {
            text += pieces[below(pieces.size())];
        }
        const Json change = {
            {"range",
             {{"start", positionOf(myText, begin, utf8)}, {"end", positionOf(myText, end, utf8)}}},
            {"text", text}};
        myText.replace(begin, end - begin, text);
        return change;
    }

private:
    std::string myText;
    std::mt19937 myRandom;
};

constexpr const char *theUri = "untitled:edited";
constexpr const char *theFresh = "untitled:fresh";

void change(ServerClient &client, const Json &changes)
{
    static int version = 1;
    client.notify(
        "textDocument/didChange",
        {{"textDocument", {{"uri", theUri}, {"version", ++version}}}, {"contentChanges", changes}});
}

} // namespace

// ---------------------------------------------------------------------- //
// Documents
// ---------------------------------------------------------------------- //

TEST(Server, EditsGiveWhatAFreshDocumentHas)
{
    const std::vector<std::string> pieces = {"x",
                                             "\xc3\xa9",
                                             "\xf0\x9d\x84\x9e",
                                             "\r\n",
                                             "\r",
                                             "\n",
                                             "{",
                                             "}",
                                             "\"",
                                             " ",
                                             "\tparm {\n",
                                             "name \"a\"\n",
                                             "type ",
                                             "float",
                                             "hidewhen \"{ a ==",
                                             "// \xe2\x82\xac\n",
                                             "/*",
                                             "*/",
                                             "group {",
                                             "[",
                                             "]",
                                             "default { ",
                                             "#define A b\n",
                                             "\\",
                                             "ch(\"t\")"};
    for (const bool utf8 : {false, true}) {
        ServerClient client(utf8 ? "utf-8" : "utf-16");
        for (const char *const script : {"examples/light.ds", "tests/tool/lsp/files/lamp.ds"}) {
            Edited edited(fileText(script), utf8 ? 1 : 2);
            ASSERT_GT(edited.text().size(), 500u);
            client.open(theUri, edited.text());
            for (int round = 0; round < 150; ++round) {
                Json changes = Json::array();
                for (std::size_t i = 0; i <= edited.below(3); ++i) {
                    changes.push_back(edited.edit(pieces, utf8));
                }
                change(client, changes);
                if (round % 5 != 0) {
                    client.ask("documentSymbol", theUri); // what is kept isn't what comes next
                    continue;
                }
                client.open(theFresh, edited.text());
                const Json at = {{"position", positionOf(edited.text(), edited.place(), utf8)}};
                ASSERT_EQ(client.diagnostics(theUri), client.diagnostics(theFresh))
                    << edited.text();
                // A page about a parameter may be that of the last text that could be read.
                for (const char *const method :
                     {"documentSymbol", "completion", "definition", "formatting"}) {
                    const Json own = client.ask(method, theUri, at);
                    std::string fresh = client.ask(method, theFresh, at).dump();
                    for (std::size_t place = 0;
                         (place = fresh.find(theFresh, place)) != std::string::npos;) {
                        fresh.replace(place, std::string(theFresh).size(), theUri);
                    }
                    ASSERT_EQ(own.dump(), fresh) << method << at << edited.text();
                }
                client.close(theFresh);
            }
            client.close(theUri);
        }
    }
}

/// The whole text as the name of a parameter.
TEST(Server, EditsGiveTheText)
{
    const std::vector<std::string> pieces = {
        "x",    "\xc3\xa9", "\xf0\x9d\x84\x9e", "\r\n", "\r",          "\n", "abc\ndef",
        "\n\n", "#",        "\r\r\n",           "\n\r", "\xe2\x82\xac"};
    const std::string head = "parm {\rname \"";
    for (const bool utf8 : {false, true}) {
        ServerClient client(utf8 ? "utf-8" : "utf-16");
        Edited edited("one\r\ntwo\rthree\nfour", utf8 ? 3 : 4);
        client.open(theUri, head + edited.text());
        for (int round = 0; round < 1000; ++round) {
            Json one = edited.edit(pieces, utf8);
            for (const char *const end : {"start", "end"}) {
                Json &position = one["range"][end];
                position["character"] =
                    position["character"].get<int>() + (position["line"] == 0 ? 6 : 0);
                position["line"] = position["line"].get<int>() + 1;
            }
            change(client, Json::array({one}));
            const Json outline = client.ask("documentSymbol", theUri);
            ASSERT_EQ(outline.size(), 1u);
            if (!edited.text().empty()) {
                ASSERT_EQ(outline[0]["name"], edited.text()) << round;
            }
        }
    }
}

/// Blanks in many places are one edit, and do the same.
TEST(Server, VeryManyEditsAreOne)
{
    ServerClient client;
    std::string text = "{\n\tname s\n";
    for (int i = 0; i < 3000; ++i) {
        text += "parm { name p" + std::to_string(i) + " type float label \"P\" }\n";
    }
    text += "}\n";
    client.open(theUri, text);
    const Json edits = client.ask("formatting", theUri);
    ASSERT_EQ(edits.size(), 1u);
    const std::string begin = "{\n\tname";
    EXPECT_EQ(edits[0]["range"]["start"], positionOf(text, begin.size(), false));
    change(client,
           edits[0].contains("newText")
               ? Json::array({{{"range", edits[0]["range"]}, {"text", edits[0]["newText"]}}})
               : Json::array());
    EXPECT_EQ(client.ask("formatting", theUri), Json::array());
    const Json outline = client.ask("documentSymbol", theUri);
    ASSERT_EQ(outline.size(), 3000u);
    EXPECT_EQ(outline[2999]["name"], "p2999");
}

/// Lines longer than what is counted at once, whose blocks and findings begin and end in no order.
TEST(Server, PlacesInOneLine)
{
    const std::vector<std::string> pieces = {"x", "\xc3\xa9", "\xf0\x9d\x84\x9e", "\xe2\x82\xac"};
    std::mt19937 random(7);
    std::string text = "\n{ name s ";
    std::vector<std::size_t> begins;
    for (int i = 0; i < 400; ++i) {
        const bool groupFlag = i % 10 == 0;
        text += i > 0 && groupFlag ? "}" : "";
        text += i % 100 == 50 ? "\r\n" : " ";
        begins.push_back(text.size());
        text += groupFlag ? "group { label \"" : "parm { label \"";
        for (std::size_t count = random() % 60; count > 0; --count) {
            text += pieces[random() % pieces.size()];
        }
        text += "\" name n" + std::to_string(i) + (groupFlag ? "" : " type flaot }");
    }
    text += "} }";
    for (const bool utf8 : {false, true}) {
        ServerClient client(utf8 ? "utf-8" : "utf-16");
        client.open(theUri, text);
        const auto rangeOf = [&](std::size_t from, const std::string &word) {
            const std::size_t at = text.find(word, from);
            return Json{{"start", positionOf(text, at, utf8)},
                        {"end", positionOf(text, at + word.size(), utf8)}};
        };
        std::vector<Json> typos;
        for (const Json &finding : client.diagnostics(theUri)) {
            if (finding["message"].get<std::string>().find("flaot") != std::string::npos) {
                typos.push_back(finding["range"]);
            }
        }
        std::size_t found = 0;
        std::size_t parms = 0;
        const auto compare = [&](const Json &symbol) {
            const std::size_t begin = begins.at(found);
            EXPECT_EQ(symbol["range"]["start"], positionOf(text, begin, utf8));
            EXPECT_EQ(symbol["selectionRange"], rangeOf(begin, "n" + std::to_string(found)));
            ++found;
        };
        for (const Json &group : client.ask("documentSymbol", theUri)) {
            compare(group);
            for (const Json &parm : group["children"]) {
                EXPECT_EQ(parm["range"]["end"], rangeOf(begins.at(found), "}")["end"]);
                EXPECT_EQ(typos.at(parms++), rangeOf(begins.at(found), "flaot"));
                compare(parm);
            }
        }
        EXPECT_EQ(found, begins.size());
        EXPECT_EQ(typos.size(), parms);
    }
}

TEST(Server, FindingsSayAllTheyKnowOnce)
{
    const std::string script = "{ name s parm { name a label A type flaot }\n"
                               "parm { name \"b c\" label B type float default { \"foo(1)\" } }\n"
                               "parm { name d label D type float hidewhen \"{ zz == 1 }\" } }";
    for (const bool lintFlag : {true, false}) {
        ServerClient client("utf-16", {{"lint", lintFlag}});
        client.open(theUri, script);
        std::vector<std::string> lines = {"", "", ""};
        for (const Json &one : client.diagnostics(theUri)) {
            const std::string text = one["message"];
            const int line = one["range"]["start"]["line"];
            lines.at(std::size_t(line)) += text + "\n";
            EXPECT_EQ(text.find("did you mean"), text.rfind("did you mean")) << text;
        }
        const std::vector<long> counts = {1, 3, 1};
        for (std::size_t i = 0; i < lines.size(); ++i) {
            EXPECT_EQ(std::count(lines[i].begin(), lines[i].end(), '\n'), counts[i]) << lines[i];
        }
        EXPECT_NE(lines[0].find("did you mean"), std::string::npos) << lines[0];
    }
}

TEST(Server, LargeAndDeepDocumentsAreAnswered)
{
    ServerClient client;
    std::string large = "{ name large\n";
    while (large.size() < 18000000) {
        large += "parm { name \"a" + std::to_string(large.size()) + "\" type float }\n";
    }
    client.open(theUri, large + "}");
    const Json told = client.diagnostics(theUri);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_NE(told[0]["message"].get<std::string>().find("16 MB"), std::string::npos);
    const Json at = {{"position", {{"line", 1}, {"character", 1}}}};
    EXPECT_EQ(client.ask("hover", theUri, at)["code"], -32803);
    change(client, Json::array({{{"text", "{ name a parm { name b type float label B } }"}}}));
    EXPECT_EQ(client.ask("documentSymbol", theUri)[0]["name"], "b");
    EXPECT_EQ(client.diagnostics(theUri), Json::array());

    std::string deep = "{ name deep ";
    for (int i = 0; i < 100000; ++i) {
        deep += "group { name g ";
    }
    change(client, Json::array({{{"text", deep}}}));
    EXPECT_FALSE(client.diagnostics(theUri).empty());
    EXPECT_EQ(client.ask("documentSymbol", theUri).size(), 1u);

    client.sendText(std::string(1000000, '['));
    EXPECT_EQ(client.messages().back()["error"]["code"], -32700);
    std::string nested = std::string(100, '[') + std::string(100, ']');
    client.sendText("{\"id\":1,\"method\":" + nested + "}");
    EXPECT_EQ(client.messages().back()["error"]["code"], -32700);
}

/// What changed while a pass ran isn't answered with what the pass found.
TEST(Server, PassesOfOlderTextsAreDropped)
{
    ServerClient client;
    client.open(theUri, "{ name a parm { name b type flaot label B } }");
    const std::shared_ptr<NOD_ScriptServer::Pass> pass = client.server().beginPass();
    ASSERT_TRUE(pass);
    EXPECT_FALSE(client.server().beginPass());
    const Json range = {{"start", {{"line", 0}, {"character", 28}}},
                        {"end", {{"line", 0}, {"character", 33}}}};
    change(client, Json::array({{{"range", range}, {"text", "float"}}}));
    pass->run();
    client.server().endPass(pass);
    EXPECT_TRUE(client.server().takeOutput().empty());
    EXPECT_EQ(client.diagnostics(theUri), Json::array());
}

// ---------------------------------------------------------------------- //
// Frames
// ---------------------------------------------------------------------- //

namespace
{

std::vector<std::string> readFrames(const std::string &bytes, std::mt19937 &random, int &faults)
{
    NOD_MessageFrames frames;
    std::vector<std::string> messages;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t count = std::min<std::size_t>(1 + random() % 40, bytes.size() - at);
        frames.add(std::string_view(bytes).substr(at, count));
        at += count;
        std::string text;
        for (;;) {
            const NOD_MessageFrames::Result result = frames.next(text);
            if (result == NOD_MessageFrames::Result::NOTHING) {
                break;
            }
            if (result == NOD_MessageFrames::Result::FAULT) {
                ++faults;
            } else {
                messages.push_back(text);
            }
        }
    }
    return messages;
}

} // namespace

TEST(Server, FramesLoseNoMessageAfterAFault)
{
    std::mt19937 random(5);
    const std::vector<std::string> garbage = {
        "Content-Length: 1000000000000\r\n\r\n{\"a\":1}",
        "Content-Length: 99999999999999999999999999\r\n\r\n",
        "Content-Length: -4\r\n\r\n{}",
        "Content-Length:\r\n\r\n",
        "Content-Type: x\r\n\r\n{}",
        "\r\n",
        "{\"jsonrpc\":\"2.0\"}\r\n\r\n",
        "Content-Length: 200\r\n\r\n{\"cut\":",
        std::string(10000, 'x') + "\r\n\r\n",
    };
    for (int round = 0; round < 300; ++round) {
        std::string bytes;
        std::vector<std::string> sent;
        int bad = 0;
        for (int i = 0; i < 8; ++i) {
            if (random() % 3 == 0) {
                bytes += garbage[random() % garbage.size()];
                ++bad;
            }
            sent.push_back("{\"id\":" + std::to_string(random() % 1000) + ",\"text\":\"" +
                           std::string(random() % 300, 'y') + "\"}");
            bytes += NOD_MessageFrames::frame(sent.back());
        }
        int faults = 0;
        EXPECT_EQ(readFrames(bytes, random, faults), sent) << bytes;
        EXPECT_GE(faults, bad);
        EXPECT_EQ(faults == 0, bad == 0);
    }
}

/// What is skipped behind a fault ends at the next header, be it as bad: a client hears of each.
TEST(Server, EachBadHeaderIsTold)
{
    std::mt19937 random(8);
    const std::vector<std::string> lengths = {"", " ", " -4", " x", " 1000000000000", " 12 bytes"};
    for (int round = 0; round < 100; ++round) {
        const std::string good = "{\"text\":\"Content-Length: x\"}";
        std::string bytes;
        const int count = 1 + int(random() % 6);
        for (int i = 0; i < count; ++i) {
            bytes += "Content-Length:" + lengths[random() % lengths.size()] + "\r\n\r\n";
            bytes += random() % 2 == 0 ? good : "";
        }
        int faults = 0;
        EXPECT_EQ(readFrames(bytes + NOD_MessageFrames::frame(good), random, faults),
                  std::vector<std::string>{good});
        EXPECT_EQ(faults, count) << bytes;
    }
}

TEST(Server, OtherHeadersAndLineEndsAreAccepted)
{
    std::mt19937 random(6);
    int faults = 0;
    EXPECT_EQ(readFrames("content-type: a; b\r\nCONTENT-LENGTH:   2\r\n\r\n{}"
                         "Content-Length: 2\n\n[]Content-Length: 0\r\n\r\n",
                         random, faults),
              (std::vector<std::string>{"{}", "[]", ""}));
    EXPECT_EQ(faults, 0);
}
