// Command lines: words into settings, settings into words, and the same line after both.

#include "CommandText.h"

#include <DS/DS_CommandList.h>
#include <KIT/KIT_WorkArgs.h>

#include <random>
#include <tuple>
#include <utility>

namespace
{

std::string split(const char *line, bool keepQuotes)
{
    KIT_WorkArgs words;
    const int count = KIT_String(line).cshParse(words, keepQuotes);
    EXPECT_EQ(count, words.entries());
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += (i ? "|" : "") + std::string(words[i]);
    }
    return all;
}

/// One of each kind.
const char *const theKinds = "{ name tool label Tool"
                             " parm { name n option -n type int }"
                             " parm { name f option -f type float size 2 default { 1 2 } }"
                             " parm { name s option -s type string }"
                             " parm { name t option -t type toggle }"
                             " parm { name m option -m type ordinal menu { one 1 two 2 } }"
                             " parm { name a option -a type angle }"
                             " parm { name v option -v type intvector }"
                             " parm { name c option -c type color range { 0! 1! } }"
                             " parm { name e option -5 type string size 2 } }";
const char *const thePlaces = "{ name tool parm { name p } parm { name v type vector }"
                              " parm { name b type button } parm { name q option -q type toggle }"
                              " parm { name s type string } parm { name t type toggle } }";
const char *const theRequired = "{ name tool parm { name n option -n type float required }"
                                " parm { name c option -c type color required }"
                                " parm { name s type string required } }";

std::string asRMan(std::string script)
{
    return script.replace(0, 1, "{ rman ");
}

} // namespace

TEST(CommandLines, Words)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"  a\tb\nc ", "a|b|c", "a|b|c"},
        {"", "", ""},
        {"'a \"b\\' c", "a \"b\\|c", "'a \"b\\'|c"},
        {"\"a \\\"b\\\\ \\n\\$\\` \\101\\000\"x", "a \"b\\ \\n$` A\\000x",
         "\"a \\\"b\\\\ \\n\\$\\` \\101\\000\"x"},
        {"`a \"b` `c\\` d`e", "`a \"b`|`c\\` d`e", "`a \"b`|`c\\` d`e"},
        {"\\a\\ b \\\\ c\\", "a b|\\|c\\", "\\a\\ b|\\\\|c\\"},
        {"'' \"\" x", "||x", "''|\"\"|x"},
        {"\"open x", "open x", "\"open x"},
        {"'open x", "open x", "'open x"},
        {"`open x", "`open x", "`open x"},
    };
    for (const auto &[line, words, written] : cases) {
        EXPECT_EQ(split(line, false), words) << line;
        EXPECT_EQ(split(line, true), written) << line;
    }
}

TEST(CommandLines, ThereAndBack)
{
    const std::string rkinds = asRMan(theKinds);
    // A script, a line, and what comes back; null: the same line.
    const std::tuple<std::string, const char *, const char *> cases[] = {
        // Kinds.
        {theKinds, "tool", nullptr},
        {theKinds, "tool -n 5 -f 1.50 -2 -s word -t -m two -a 1.5 -v 1 -2 3 -c 0.5 1 0", nullptr},
        {theKinds, "tool -t -n 5", "tool -n 5 -t"},
        {theKinds, "tool -n -5", nullptr},
        {theKinds, "tool -s -5 -5 -5 -5", nullptr},
        {theKinds, "tool -n high -a 1.50 -m wibble", "tool -n `high` -m one -a 1.5"},
        // Texts.
        {theKinds, "tool -s \"\"", nullptr},
        {theKinds, "tool -s \"a b\\\"c\\\\d'e\"", nullptr},
        {theKinds, "tool -s \"a`b c`d\"", nullptr},
        {theKinds, "tool -s `chs(\"../x\") + \"\\`\"`", nullptr},
        {theKinds, "tool -s \"`\"", nullptr},
        {theKinds, "tool -s \"$SHOT/[a]\"", nullptr},
        {theKinds, "tool -s 'one\ntwo'", "tool -s \"one\ntwo\""},
        // Number fields and vectors.
        {theKinds, "tool -n `$F * 2`", nullptr},
        {theKinds, "tool -n `a\\`b\\\\c`", nullptr},
        {theKinds, "tool -n \"\"", nullptr},
        {theKinds, "tool -c 0 `$F` 1", nullptr},
        {theKinds, "tool -c 0.50 1.0 +1", "tool -c 0.5 1 1"},
        {theKinds, "tool -c 7 0 0", nullptr}, // beyond the sliders
        {theKinds, "tool -c `7.0` x \"\"", "tool -c 7 `x` \"\""},
        // Numbers that no parameter holds.
        {theKinds, "tool -c 1e400 0 0", "tool -c inf 0 0"},
        {theKinds, "tool -c nan -inf 0", nullptr},
        {theKinds, "tool -n 1e400 -a 1e400", "tool -n 1e400 -a inf"},
        {theKinds, "tool -a nan -v 99999999999999999999 -2147483649 x",
         "tool -a nan -v 9223372036854775807 -2147483649 0"},
        {theKinds, "tool -m 99999999999 -a 0x10", "tool -m two -a 0"},
        // A line that ends too early, words that nothing accepts, another tool.
        {theKinds, "tool -n", "tool -n 0"},
        {theKinds, "tool x y -t z", "tool -t"},
        // RenderMan.
        {rkinds, "\"tool\" \"-n\" [5] \"-f\" [1 2] \"-s\" [\"a b\"] \"-t\" \"-c\" [0 1 0.5]",
         nullptr},
        {rkinds, "\"tool\" \"-n\" [ `$F`] \"-s\" [\"a\\133 0\\135\\\\133\"]", nullptr},
        {rkinds, "\"tool\" \"-n\" [ `ch(\\133)`] \"-s\" [ `chs(1)`]", nullptr},
        {rkinds, "\"tool\" \"-s\" [\"`a\\1330\\135`\"] \"-m\" [\"two\"]", nullptr},
        {rkinds, "tool -n[5]-s[x]", "\"tool\""},
        {asRMan(thePlaces), "\"tool\" [ 1 ] [ 1 2 3 ] \"-q\" [ \"a b\" ]", nullptr},
        {asRMan(thePlaces), "\"tool\" [ `$F` ] [ 1 2 3 ] [ \"q\" ]", nullptr},
        {asRMan(theRequired), "\"tool\" \"-n\" 1 \"-c\" 1 `x` 0 \"s\"", nullptr},
        // Places.
        {thePlaces, "tool 1 1 2 3 text 0", nullptr},
        {thePlaces, "tool 1 1 2 3 -q text", nullptr},
        // A word is an option however it is quoted.
        {thePlaces, "tool ''-q 1 2 3", "tool 1 2 3 0 -q"},
        {thePlaces, "tool 1 1 2 3 \"-q\"", "tool 1 1 2 3 -q"},
        {thePlaces, "tool \"\" 1 2 3 \"\"", nullptr},
        {theRequired, "tool -n 1 -c 1 `$F` 0 s", nullptr},
    };
    for (const auto &[script, line, expected] : cases) {
        Command tool(script);
        ASSERT_EQ(tool.messages, "");
        const std::string back = tool.after(line);
        EXPECT_EQ(back, expected ? expected : line);
        EXPECT_EQ(tool.after(back), back) << line;
        EXPECT_EQ(tool.lossesOf(back), "");
        EXPECT_TRUE(expected || tool.lossesOf(line).empty()) << line;
        EXPECT_EQ(Command(script).after(back), back) << line;
    }
}

TEST(CommandLines, WhatIsLostIsListed)
{
    const std::tuple<std::string, const char *, const char *> cases[] = {
        {theKinds, "tool x -n 1 2 -t \"y z\"",
         "nothing takes the word \"x\"; nothing takes the word \"2\"; nothing takes the word \"y z\""},
        {theKinds, "other -n 1",
         "nothing takes the word \"other\"; nothing takes the word \"-n\"; nothing takes the word \"1\""},
        {theKinds, "", ""},
        {theKinds, "tool -m 1 -a 1.50 -v 01 2 3 -c +1 `$F` 7", ""},
        {theKinds, "tool -m three -a much -v 1 2.5 4",
         "m: \"three\" reads as \"one\"; a: \"much\" reads as \"0\"; v: \"2.5\" reads as \"2\""},
        {theKinds, "tool -f 1", ""}, // the other component stays
        {theKinds, "tool -c 1 2 3 -c 4 5 6", "-c is there more than once: the last one counts"},
        {thePlaces, "tool 1 1 2 3 text on", ""},
        {thePlaces, "tool 1 1 2 3 text maybe 5",
         "t: \"maybe\" reads as \"1\"; nothing takes the word \"5\""},
        {asRMan(thePlaces), "\"tool\" [ 1 ] [ 1 2 3 ] [ \"a\" ] [ 0 ] [ 9 ]",
         "nothing takes the word \"9\""},
        {"{ name tool }", "tool a", "nothing takes the word \"a\""},
        {"{ name tool parm { name r option -r type angle range { 0! 5! } } }", "tool -r 9",
         "r: \"9\" reads as \"5\""},
    };
    for (const auto &[script, line, losses] : cases) {
        EXPECT_EQ(Command(script).lossesOf(line), losses) << line;
    }
    Command tool("{ name tool default { \"tool a b\" } parm { name s type string } }");
    KIT_StringArray losses;
    tool.command->setDefaultCommand(&losses);
    EXPECT_EQ(tool.line(), "tool a");
    EXPECT_EQ(losses.entries(), 1);
}

TEST(CommandLines, Settings)
{
    Command tool(theKinds);
    tool.command->setCommand("tool -t -n 7 -c 0.5 0.25 1 -f 3");
    for (const char *const on : {"tog.t", "t", "tog.n", "tog.c"}) {
        EXPECT_EQ(tool.number(on), 1) << on;
    }
    EXPECT_EQ(tool.text("n"), "7");
    EXPECT_EQ(tool.text("c", 1), "0.25");
    EXPECT_EQ(tool.text("c.v1"), "0.25");
    EXPECT_EQ(tool.text("f", 0) + " " + tool.text("f", 1), "3 2");
    EXPECT_EQ(tool.number("tog.s"), 0);

    tool.command->setCommand("other -n 9");
    EXPECT_EQ(tool.text("n"), "7");
    tool.command->setCommand("");
    tool.command->setCommand(nullptr);
    EXPECT_EQ(tool.number("tog.n"), 1);

    tool.command->setCommand("tool -c 0.5 $F 1");
    EXPECT_EQ(tool.number("tog.c"), 2);
    EXPECT_EQ(tool.text("c.v1"), "$F");
    EXPECT_EQ(tool.text("c", 1), "0.25");
    EXPECT_EQ(tool.number("tog.n"), 0);
    EXPECT_EQ(tool.text("n"), "7") << "off, but kept";

    // What is on decides, whatever set it.
    tool.setNumber("tog.c", 1);
    tool.setNumber("tog.t", 1);
    EXPECT_EQ(tool.line(), "tool -t -c 0.5 0.25 1");
    tool.setNumber("t", 0);
    EXPECT_EQ(tool.line(), "tool -c 0.5 0.25 1");
}

TEST(CommandLines, PlacesAreLeftOut)
{
    // A record that is off isn't on the line, and its position is the next one's.
    Command tool(thePlaces);
    tool.setNumber("tog.s", 1);
    tool.setText("s", "x");
    EXPECT_EQ(tool.line(), "tool x");
    tool.setNumber("tog.p", 1);
    EXPECT_EQ(tool.line(), "tool 0 x");
    tool.setText("s", "-q");
    EXPECT_EQ(tool.line(), "tool 0 -q");

    // Lines of older versions have pairs of quotes, which are no part of a word.
    Command other(thePlaces);
    EXPECT_EQ(other.after("tool ''''''7 ''1"), "tool 7 1 0 0");
    EXPECT_EQ(other.after("tool ''''''''''7 5"), "tool 7 5 0 0");
    Command last("{ name tool parm { name a } parm { name b required } }");
    EXPECT_EQ(last.line(), "tool 0");
    EXPECT_EQ(last.after("tool 7"), "tool 7 0");
}

TEST(CommandLines, WhatHasNoWordsIsItsOptionAlone)
{
    Command tool("{ name tool parm { name b type button option -b } parm { name n option -n }"
                 " parm { name d type data option -d required } parm { name s type separator }"
                 " parm { name l type label option -l } parm { name c type button required } }");
    EXPECT_EQ(tool.line(), "tool -d");
    for (const char *line : {"tool -b -n 3 -d", "tool -b -d -l", "tool -n 5 -d -l"}) {
        EXPECT_EQ(tool.after(line), line);
    }
}

TEST(CommandLines, EqualOptionsAndRequiredToggles)
{
    // Equal options: the last one counts. A required record keeps its value.
    Command twice("{ name tool parm { name a option -x required } parm { name b option -x } }");
    EXPECT_EQ(twice.after("tool -x 3"), "tool -x 0 -x 3");
    // A required toggle is off without its option; one that has a place keeps its value.
    Command toggles("{ name tool parm { name a option -a type toggle required }"
                    " parm { name b type toggle required } }");
    EXPECT_EQ(toggles.after("tool -a 1"), "tool -a 1");
    EXPECT_EQ(toggles.after("tool"), "tool 1");
}

TEST(CommandLines, DefaultLine)
{
    Command named("{ name tool parm { name n option -n } default { \"tool -n 3\" } }");
    named.command->setDefaultCommand();
    EXPECT_EQ(named.line(), "tool -n 3");
    Command bare("{ name tool parm { name n option -n } }");
    bare.after("tool -n 3");
    bare.command->setDefaultCommand();
    EXPECT_EQ(bare.line(), "tool");
    Command awkward("{ name \"my tool\" parm { name n option \"an option\" } }");
    EXPECT_EQ(awkward.after("\"my tool\" \"an option\" 1"), "\"my tool\" \"an option\" 1");
}

TEST(CommandLines, EnabledByCompanions)
{
    Command tool(theKinds);
    const auto states = [&] {
        std::string all;
        for (const char *const token : {"n", "t", "c", "c.v0", "c.v2", "tog.n"}) {
            all += tool.parm(token).getEnableState(0) ? '1' : '0';
        }
        return all;
    };
    EXPECT_NE(tool.command->disableParms(), 0);
    EXPECT_EQ(states(), "000001");
    EXPECT_EQ(tool.command->disableParms(), 0) << "nothing changed";
    tool.command->setCommand("tool -n 1 -c 0 0 0");
    EXPECT_NE(tool.command->disableParms(), 0);
    EXPECT_EQ(states(), "101001");
    tool.setNumber("tog.c", 2);
    EXPECT_NE(tool.command->disableParms(), 0);
    EXPECT_EQ(states(), "100111");
}

TEST(CommandLines, AnyTextComesBack)
{
    // Every line that is written reads back, whatever bytes the settings have, if places without
    // an option are always on and don't look like one.
    const std::string places = "{ name tool parm { name p required }"
                               " parm { name v type vector required }"
                               " parm { name q option -quick type toggle }"
                               " parm { name s type string required }"
                               " parm { name t type toggle required } }";
    const std::string bytes = "ab -5[]\"'`\\$#\n\t0123;\xc3\xa9";
    std::mt19937 random(7);
    const auto text = [&] {
        std::string all;
        for (unsigned left = random() % 7; left > 0; --left) {
            all += bytes[random() % bytes.size()];
        }
        return random() % 8 ? all : std::string(random() % 2 ? "-q" : "`x`");
    };
    for (const std::string &script :
         {places, asRMan(places), std::string(theKinds), asRMan(theKinds), asRMan(theRequired)}) {
        Command tool(script);
        Command other(script);
        for (int round = 0; round < 1500; ++round) {
            const ZEL_ParmList &list = *tool.command->getParmList();
            for (int i = 0; i < list.getEntries(); ++i) {
                const char *const token = list.getParmPtr(i)->getToken();
                if (list.getParmPtr(i)->getTemplatePtr()->getType().isStringType()) {
                    tool.setText(token, text().c_str());
                } else {
                    tool.setNumber(token, int(random() % 3));
                }
            }
            const std::string line = tool.line();
            ASSERT_EQ(other.after(line), line);
            const auto isOn = [&list](Command &one, const char *companion) {
                return !list.getParmPtr(companion) || one.number(companion) != 0;
            };
            for (const char *const companion : {"tog.p", "tog.v", "tog.s", "tog.n", "tog.c"}) {
                ASSERT_EQ(isOn(other, companion), isOn(tool, companion)) << line;
            }
            if (isOn(tool, "tog.s")) {
                ASSERT_EQ(other.text("s"), tool.text("s")) << line;
            }
        }
    }
}

TEST(CommandLines, HostileLines)
{
    Command tool(theKinds);
    const std::string million(1u << 20, 'x');
    EXPECT_EQ(tool.after("tool -s " + million), "tool -s " + million);
    EXPECT_EQ(tool.after("tool -s \"" + million), "tool -s " + million) << "an open quote";
    std::string many = "tool";
    for (int i = 0; i < 200000; ++i) {
        many += " -n 1 y";
    }
    EXPECT_EQ(tool.after(many), "tool -n 1");
    for (const char *const line :
         {"tool \"", "tool '", "tool `", "tool \\", "tool -s `", "tool -n \\"}) {
        const std::string back = tool.after(line);
        EXPECT_EQ(tool.after(back), back) << line;
    }
}

TEST(CommandLines, Examples)
{
    const std::string folder = std::string(ZEL_TESTS_DIR) + "/../examples/commands/";
    const std::pair<const char *, const char *> cases[] = {
        {"image.cmd", "resize -s 2 0.5 -f fill -r box -b 1 0.5 0 -o 1 2 3 -g `$GAMMA` -q 90 -v "
                      "-c \"a b\" \"my in.pic\" out.pic"},
        {"image.cmd", "resize -q -5 -v in.pic `chs(\"../out\")`"},
        {"image.cmd", "sheet -n 7 -d 2.5 out.pic \"The Title\""},
        {"surface.cmd", "\"plastic\" \"Ka\" [0.2] \"Ks\" [ `$F/10`] \"Cs\" [1 `$R` 0] "
                        "\"dir\" [0 1 0] \"texturename\" [\"a b.tex\"] \"matte\" \"world\""},
    };
    for (const auto &[file, line] : cases) {
        const DS_CommandList commands((folder + file).c_str());
        KIT_WorkArgs words;
        KIT_String(line).cshParse(words);
        DS_Command *const command = commands.getCommand(words[0]);
        ASSERT_TRUE(command) << line;
        KIT_String back;
        command->setCommand(line);
        command->getCommand(back);
        EXPECT_EQ(back, line);
    }
}
