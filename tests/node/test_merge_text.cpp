// Scripts and presets under version control: taken apart and written again, patched and merged, by cases and by random
// edits.

#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Document.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Merge.h>
#include <NOD/NOD_Report.h>
#include <STO/STO_IndexFile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <sstream>

namespace
{

using Strings = std::vector<std::string>;

NOD_Document documentOf(const std::string &bytes)
{
    NOD_Document document;
    NOD_Report report;
    NOD_DocumentOptions options;
    options.isExact = true;
    options.interface = NOD_Interface::fromText(
        "{ name lamp parm { name a type float } parm { name b type float } }", "lamp", report);
    EXPECT_TRUE(document.read(bytes, "bytes", options, report)) << report.asText() << bytes;
    return document;
}

std::string bytesOf(const NOD_Document &document)
{
    std::string bytes;
    NOD_Report report;
    EXPECT_TRUE(document.write(bytes, report)) << report.asText();
    return bytes;
}

NOD_Difference exactly(const NOD_Document &left, const NOD_Document &right)
{
    return NOD_Difference::between(left.getTop(), right.getTop(), {true, {}});
}

struct Merged
{
    std::string bytes;
    Strings conflicts;
};

Merged mergeOf(const std::string &base, const std::string &ours, const std::string &theirs,
               bool notes = false)
{
    NOD_Merge merge;
    NOD_Document made = documentOf(ours);
    const NOD_Document from = documentOf(base);
    made.setTop(merge.merge(from.getTop(), made.getTop(), documentOf(theirs).getTop()));
    Merged merged;
    NOD_Report report;
    EXPECT_TRUE(notes ? made.write(merged.bytes, merge.getConflicts(), report)
                      : made.write(merged.bytes, report))
        << report.asText();
    for (const NOD_Conflict &conflict : merge.getConflicts()) {
        merged.conflicts.push_back(conflict.asText());
    }
    return merged;
}

std::string applied(const NOD_Difference &difference, const std::string &bytes)
{
    NOD_Document document = documentOf(bytes);
    NOD_Report report;
    std::unique_ptr<NOD_Record> top = difference.apply(document.getTop(), report);
    EXPECT_TRUE(top) << report.asText();
    if (top) {
        document.setTop(std::move(top));
    }
    return bytesOf(document);
}

/// Through its JSON, as `zel diff --patch` and `zel patch` do it.
void expectPatch(const std::string &a, const std::string &b)
{
    const NOD_Difference there = exactly(documentOf(a), documentOf(b));
    NOD_Difference read;
    NOD_Report report;
    ASSERT_TRUE(read.fromJson(there.toJson(), "patch", report)) << report.asText();
    EXPECT_EQ(applied(read, a), b) << read.toJson();
    EXPECT_EQ(applied(read.inverse(), b), a) << read.toJson();
}

// ---------------------------------------------------------------------- //
// Scripts
// ---------------------------------------------------------------------- //

TEST(MergeScript, ATextIsWrittenAgain)
{
    const char *const texts[] = {
        "{name x}",
        "// all\n{\n\tname x // the name\n}\n// end",
        "{ name x /* a\n b */ label \"X\"\n\n#if 1\n parm { name a } #not\n#else\n wibble {\n#endif\n}",
        "{\r\n name x\r\n parm{name\"a\"default{1}range{0! 1!}}\r\n}\r\n",
        "{ name x parm { name a } label \"between\" parm { name a } parm { } help { \"1\" \"2\" } }",
        "{ name x #define F float\n parm { name a type F } }",
        "{ name x parm { name a menu { [ \"script\" ] language python } default { [ \"$F\" "
        "expression ] 2 } parmtag { a b } parmtag { a c } } }",
        "{ name x\ngroup {\nname g\nparm {\nname a\n}\n}\n  help {\n\"a\nparm {\"\n}\n}",
        "{ name x parm { name a disablewhen { { a == 1 } { b != 2 } } bindhandle 1 2 3 4 5 } }",
        "{ name x group { name g multiparm { name m default 2 parm { name i# } } grouptag { a b } } }",
        "#include \"nowhere.dsh\"\n{ name x\n#include \"nowhere.dsh\"\n}",
    };
    for (const std::string text : texts) {
        EXPECT_EQ(bytesOf(documentOf(text)), text);
    }
}

TEST(MergeScript, WhatIsNoScriptIsRefused)
{
    std::string deep = "{ name x";
    for (int level = 0; level < 300; ++level) {
        deep += " group { name g" + std::to_string(level);
    }
    const std::pair<std::string, const char *> texts[] = {
        {deep + std::string(301, '}'), "f(1): the blocks lie in each other too deep"},
        {"no braces", "f: is no file of parameters"},
        {"// a comment\nno braces", "f(2): begins with no brace"},
        {"{ name x\n parm { name a", "f(2): the block of 'parm' is not closed"},
        {"{ name x\n label \"a }", "f(2): the text is not closed"},
        {"{ name x /* }", "f: is no dialog script as a whole"},
        {"#define P name a }\n{ name x parm { P }", "f(2): can't be taken apart"},
    };
    for (const auto &[text, message] : texts) {
        NOD_Document document;
        NOD_DocumentOptions options;
        NOD_Report report;
        options.isExact = true;
        EXPECT_FALSE(document.read(text, "f", options, report)) << text;
        EXPECT_EQ(report.asText().substr(0, std::string(message).size()), message);
    }
}

std::string scriptOf(const std::string &body)
{
    return "{\n\tname lamp\n" + body + "}\n";
}

TEST(MergeScript, PartsOfAStatementAreMergedOneByOne)
{
    struct Case
    {
        const char *base, *ours, *theirs, *merged;
        Strings conflicts;
    };
    const Case cases[] = {
        {"\tparm { name a label A default { 1 2 3 } }\n",
         "\tparm { name a label A default { 9 2 3 } }\n",
         "\tparm { name a label A default { 1 2 [ \"$F\" expression ] } }\n",
         "\tparm { name a label A default { 9 2 [ \"$F\" expression ] } }\n",
         {}},
        {"\tparm { name a range { 0 10! } }\n",
         "\tparm { name a range { 0! 10! } }\n",
         "\tparm { name a range { 0 20! } }\n",
         "\tparm { name a range { 0! 20! } }\n",
         {}},
        {"\tparm { name a menu { a A b B } }\n",
         "\tparm { name a menu { a A x X b B } }\n",
         "\tparm { name a menu { b B a Aa } }\n",
         "\tparm { name a menu { x X b B a Aa } }\n",
         {}},
        {"\tparm { name a label A } // c\n",
         "\tparm { name b label A } // c\n",
         "\tparm {\n\t\tname  a\n\t\tlabel B } // d\n",
         "\tparm {\n\t\tname  b\n\t\tlabel B } // d\n",
         {}},
        {"\tparm { name a label A }\n",
         "\tparm { name a label B }\n",
         "\tparm { name a label C }\n",
         "\tparm { name a label B }\n",
         {"a label: both changed it: base A, ours B, theirs C; ours stands"}},
        {"\tparm { name a label A }\n",
         "",
         "\tparm { name a label C }\n",
         "",
         {"a: one changed it, the other one removed it: base parm { name a label A }, ours nothing, "
          "theirs parm { name a label C }; ours stands"}},
    };
    for (const Case &one : cases) {
        const Merged merged = mergeOf(scriptOf(one.base), scriptOf(one.ours), scriptOf(one.theirs));
        EXPECT_EQ(merged.bytes, scriptOf(one.merged));
        EXPECT_EQ(merged.conflicts, one.conflicts);
        expectPatch(scriptOf(one.base), scriptOf(one.ours));
        expectPatch(scriptOf(one.theirs), scriptOf(one.ours));
    }
}

TEST(MergeScript, ATokenIsThereOnce)
{
    const std::string folders = "\tgroup { name f }\n\tgroup { name g }\n";
    const auto with = [&](const std::string &f, const std::string &g) {
        return scriptOf("\tgroup { name f" + f + " }\n\tgroup { name g" + g + " }\n");
    };
    const std::string parm = " parm { name a type float }";
    const Merged both = mergeOf(scriptOf(folders), with(parm, ""), with("", parm));
    EXPECT_EQ(both.bytes, with(parm, ""));
    ASSERT_EQ(both.conflicts.size(), 1U);
    EXPECT_EQ(both.conflicts[0].substr(0, 14), "folder f a: bo");
    const Merged renamed = mergeOf(with(" parm { name old type float label Old }", ""),
                                   with(" parm { name a type float label Old }", ""),
                                   with(" parm { name old type float label Old }", parm));
    EXPECT_EQ(renamed.conflicts.size(), 1U);
    EXPECT_EQ(renamed.bytes,
              with(" parm { name a type float label Old }", " parm { name a1 type float }"));
}

/// What one side renames, the other one may have begun to refer to.
TEST(MergeScript, ANameThatOnlyTheMergeLostIsAConflict)
{
    const auto script = [](const std::string &name, const std::string &words) {
        return "{\n\tname s\n\tparm {\n\t\tname \"" + name +
               "\"\n\t\ttype float\n\t\trange { 0 1 }\n\t}\n\tparm {\n\t\tname \"y\"\n"
               "\t\ttype float\n" +
               words + "\t}\n}\n";
    };
    const std::string condition = "\t\tdisablewhen \"{ x == 0 } { y > 2 }\"\n";
    const std::string expression = "\t\tdefault { [ \"ch(\\\"x\\\") * 2\" native ] }\n";
    const std::string other = "\t\tdisablewhen \"{ y == x }\"\n\t\tlabel \"ch x\"\n";
    const auto conflicts = [&](const char *base, const std::string &ours,
                               const std::string &theirs) {
        const Strings told = mergeOf(script(base, ""), ours, theirs).conflicts;
        return told.empty() ? "" : told[0];
    };
    EXPECT_EQ(conflicts("x", script("x", condition), script("z", "")),
              "y disablewhen: it refers to what one side removed: base nothing, ours "
              "\"{ x == 0 } { y > 2 }\", theirs nothing; ours stands");
    for (const std::string &words : {expression, std::string("\t\thidewhen { x != 0 }\n")}) {
        EXPECT_NE(conflicts("x", script("z", ""), script("x", words)).find("theirs stands"),
                  std::string::npos)
            << words;
    }
    EXPECT_EQ(conflicts("x", script("x", other), script("z", "")), "");
    const std::string elsewhere =
        "\t\tdefault { [ \"ch(\\\"../x\\\") + ch(\\\"x/y\\\")\" native ] }\n";
    EXPECT_EQ(conflicts("x", script("x", elsewhere), script("z", "")), "");
    std::string renamed = script("z", "");
    renamed.replace(renamed.find("\"y\""), 3, "\"w\"");
    for (const bool swapped : {false, true}) {
        const std::string theirs = script("x", condition);
        EXPECT_NE(conflicts("x", swapped ? theirs : renamed, swapped ? renamed : theirs), "");
    }
    // It was so before, or both sides have its new name.
    EXPECT_EQ(conflicts("z", script("z", condition), script("w", "")), "");
    EXPECT_EQ(conflicts("x", script("x", ""), script("z", condition)), "");
}

TEST(MergeScript, ConflictsAreCommentsThatAreReadOver)
{
    const Merged merged =
        mergeOf(scriptOf("\tgroup { name g\n\t\tparm { name a label A }\n\t}\n"),
                scriptOf("\tgroup { name g\n\t\tparm { name a label B }\n\t}\n"),
                scriptOf("\tgroup { name g\n\t\tparm { name a label C }\n\t}\n"), true);
    EXPECT_EQ(
        merged.bytes,
        scriptOf("\tgroup { name g\n\t\t// conflict: folder g a label: both changed it: base A, "
                 "ours B, theirs C; ours stands\n\t\tparm { name a label B }\n\t}\n"));
}

// ---------------------------------------------------------------------- //
// Random edits of scripts
// ---------------------------------------------------------------------- //

struct Parm
{
    std::string token;
    std::string label = "L";
    Strings defaults = {"1", "2"};
    Strings entries = {"m", "n"};
    std::string comment;
    bool hidden = false;
    int folder = 0;
    bool isThere = true;
};

/// Three folders with parameters, each on lines of its own.
struct Script
{
    std::vector<Parm> parms;

    std::string text() const
    {
        std::string all = "{\n\tname lamp\n";
        for (int folder = 0; folder < 3; ++folder) {
            all += "\tgroup {\n\t\tname f" + std::to_string(folder) + "\n";
            for (const Parm &parm : parms) {
                all += parm.isThere && parm.folder == folder ? textOf(parm) : "";
            }
            all += "\t}\n";
        }
        return all + "}\n";
    }

private:
    static std::string textOf(const Parm &parm)
    {
        std::string text = parm.comment.empty() ? "" : "\t\t// " + parm.comment + "\n";
        text += "\t\tparm {\n\t\t\tname  " + parm.token + "\n\t\t\tlabel " + parm.label +
                "\n\t\t\ttype  float\n\t\t\tdefault {";
        for (const std::string &one : parm.defaults) {
            text += " " + one;
        }
        text += " }\n\t\t\tmenu {\n";
        for (const std::string &entry : parm.entries) {
            text += "\t\t\t\t\"" + entry + "\" \"E\"\n";
        }
        text += "\t\t\t}\n";
        return text + (parm.hidden ? "\t\t\tinvisible\n" : "") + "\t\t}\n";
    }
};

using Random = std::mt19937;

/// Of one parameter. Those that come and go stay where they are among the others.
void editOne(Parm &parm, const std::string &mark, Random &random)
{
    switch (random() % 7) {
    case 0: parm.label += mark; break;
    case 1: parm.defaults[random() % 2] += "0"; break;
    case 2: parm.entries.insert(parm.entries.begin() + std::ptrdiff_t(random() % 3), mark); break;
    case 3: parm.comment += mark; break;
    case 4: parm.hidden = !parm.hidden; break;
    case 5: parm.isThere = false; break;
    default: parm.token += mark; break;
    }
}

Script randomScript(Random &random)
{
    Script script;
    for (int i = 0; i < 12; ++i) {
        Parm parm;
        parm.token = "p" + std::to_string(i);
        parm.label = "Label" + std::to_string(i * 37);
        parm.folder = i / 4;
        parm.comment = random() % 3 == 0 ? "about " + parm.token : "";
        parm.hidden = random() % 4 == 0;
        script.parms.push_back(parm);
    }
    return script;
}

/// Of those with places that leave the rest.
Script edited(Script script, int rest, int edits, const std::string &mark, Random &random)
{
    for (int i = 0; i < edits; ++i) {
        const std::size_t place = random() % 6 * 2 + std::size_t(rest);
        editOne(script.parms[place], mark + std::to_string(i), random);
    }
    return script;
}

TEST(MergeScript, LawsOfPatchesAndMerges)
{
    for (unsigned seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Script script = randomScript(random);
        const std::string base = script.text();
        const std::string ours = edited(script, 0, 4, "o", random).text();
        const std::string theirs = edited(script, 0, 4, "t", random).text();
        EXPECT_TRUE(exactly(documentOf(base), documentOf(base)).isEmpty());
        EXPECT_EQ(bytesOf(documentOf(ours)), ours);
        expectPatch(ours, theirs);
        EXPECT_EQ(mergeOf(base, base, theirs).bytes, theirs);
        EXPECT_EQ(mergeOf(base, ours, base).bytes, ours);
        EXPECT_EQ(mergeOf(base, ours, ours).bytes, ours);
        const Merged one = mergeOf(base, ours, theirs);
        const Merged other = mergeOf(base, theirs, ours);
        EXPECT_EQ(one.conflicts.size(), other.conflicts.size());
        NOD_Report report;
        EXPECT_TRUE(NOD_Interface::fromText(one.bytes, "merged", report)) << report.asText();
        if (one.conflicts.empty()) {
            EXPECT_TRUE(
                exactly(documentOf(one.bytes), documentOf(other.bytes)).getChanges().size() <=
                exactly(documentOf(ours), documentOf(theirs)).getChanges().size());
        }
    }
}

/// Edits of two people to different parameters: what the merge makes is the script with all of them.
TEST(MergeScript, EditsOfDifferentParametersNeverConflict)
{
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Script script = randomScript(random);
        const Script ours = edited(script, 0, 3, "o", random);
        const Script theirs = edited(script, 1, 3, "t", random);
        Script both = ours;
        for (std::size_t i = 1; i < both.parms.size(); i += 2) {
            both.parms[i] = theirs.parms[i];
        }
        const Merged merged = mergeOf(script.text(), ours.text(), theirs.text());
        EXPECT_EQ(merged.conflicts, Strings());
        EXPECT_EQ(merged.bytes, both.text());
    }
}

/// Whether the conflict is about the declaration that the path is in.
bool isAbout(const NOD_Conflict &conflict, const NOD_RecordPath &path)
{
    const auto isDeclaration = [](const NOD_PathStep &step) {
        return step.kind == NOD_RecordKind::DECLARATION;
    };
    const auto nameOf = [&](const NOD_RecordPath &one) {
        const auto last = std::find_if(one.rbegin(), one.rend(), isDeclaration);
        return last == one.rend() ? std::string() : last->name;
    };
    return nameOf(conflict.base.path) == nameOf(path) ||
           nameOf(conflict.ours.path) == nameOf(path) ||
           nameOf(conflict.theirs.path) == nameOf(path);
}

/// Each edit of either side is there, or told of.
TEST(MergeScript, NoEditIsLostWithoutAConflict)
{
    int checked = 0;
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Script script = randomScript(random);
        const NOD_Document base = documentOf(script.text());
        const NOD_Document sides[] = {documentOf(edited(script, 0, 5, "o", random).text()),
                                      documentOf(edited(script, 0, 5, "t", random).text())};
        NOD_Merge merge;
        const auto made = merge.merge(base.getTop(), sides[0].getTop(), sides[1].getTop());
        const NOD_Difference all = NOD_Difference::between(base.getTop(), *made, {true, {}});
        const auto keyOf = [](const NOD_Change &edit) {
            return std::string(NOD_Change::getVerbName(edit.verb)) + NODpathText(edit.oldPath) +
                   " " + edit.getPath().back().name + NODvalueText(edit.newValue);
        };
        std::set<std::string> there;
        for (const NOD_Change &edit : all.getChanges()) {
            there.insert(keyOf(edit));
        }
        for (const NOD_Document &side : sides) {
            const NOD_Difference edits = exactly(base, side);
            for (const NOD_Change &edit : edits.getChanges()) {
                const bool toldFlag =
                    std::any_of(merge.getConflicts().begin(), merge.getConflicts().end(),
                                [&](const NOD_Conflict &one) {
                                    return isAbout(one, edit.oldPath) || isAbout(one, edit.newPath);
                                });
                if (NODtraitsOf(edit.getKind()).comparison != NOD_Comparison::LAYOUT && !toldFlag) {
                    EXPECT_EQ(there.count(keyOf(edit)), 1U) << keyOf(edit);
                    ++checked;
                }
            }
        }
    }
    EXPECT_GT(checked, 100);
}

// ---------------------------------------------------------------------- //
// Presets
// ---------------------------------------------------------------------- //

std::string presetOf(const std::string &a, const std::string &b, const std::string &channels = {})
{
    return "#PSI_PRESET\nversion 2.0a\nchannels\nchannels 1.0\n{\n" + channels +
           "}\nvalues\n{\nversion 0.8\na\t[ 0\tlocks=0 ]\t(\t" + a + "\t)\nb\t[ 0\tlocks=0 ]\t(\t" +
           b + "\t)\n}\n";
}

std::string fileOf(const std::vector<std::pair<std::string, std::string>> &presets)
{
    std::ostringstream os;
    STO_IndexFile::writeStart(os);
    for (const auto &[name, text] : presets) {
        STO_IndexFile::writeSection(os, name, text);
    }
    STO_IndexFile::writeEnd(os);
    return os.str();
}

TEST(MergePreset, ValuesAndPresetsAreMergedOneByOne)
{
    const std::string key = "    channel a {\n        default 0\n        key 0 1 linear()\n    }\n";
    const std::pair<std::string, std::string> cases[] = {
        {presetOf("1", "2"), presetOf("[ a\t1 ] ", "2", key)},
        {fileOf({{"Day", presetOf("1", "2")}, {"Night", "#PSI_PRESET version 2.0a # own\n"}}),
         fileOf({{"Dusk \"x\"", presetOf("5", "2")}, {"Day", presetOf("1", "3")}})},
        {"#STO_INDEX 1.0\n# a comment\nsection \"a\"\n\tx\nend\n#END\n", fileOf({{"a", "y"}})}};
    for (const auto &[a, b] : cases) {
        EXPECT_EQ(bytesOf(documentOf(a)), a);
        EXPECT_EQ(bytesOf(documentOf(b)), b);
        expectPatch(a, b);
        EXPECT_EQ(mergeOf(a, a, b).bytes, b);
        EXPECT_EQ(mergeOf(a, b, a).bytes, b);
    }
    const Merged one = mergeOf(presetOf("1", "2"), presetOf("7", "2"), presetOf("1", "8"));
    EXPECT_EQ(one.bytes, presetOf("7", "8"));
    EXPECT_EQ(one.conflicts, Strings());
    const Merged file = mergeOf(fileOf({{"Day", presetOf("1", "2")}, {"Old", presetOf("1", "1")}}),
                                fileOf({{"Day", presetOf("7", "2")}, {"Ours", presetOf("0", "0")}}),
                                fileOf({{"Day", presetOf("6", "8")}, {"Old", presetOf("1", "1")}}));
    EXPECT_EQ(file.bytes, fileOf({{"Day", presetOf("7", "8")}, {"Ours", presetOf("0", "0")}}));
    EXPECT_EQ(file.conflicts,
              Strings({"preset Day a: both changed it: base 1, ours 7, theirs 6; ours "
                       "stands"}));
}

/// One side has other blanks; a comment is kept, and the preset then one thing.
TEST(MergePreset, BlanksBecomeTheLibrarys)
{
    const std::string base = presetOf("1", "2");
    std::string theirs = presetOf("1", "7", "    channel a { default 0   key 0 5 linear() }\n");
    theirs.replace(theirs.find("values\n"), 7, "values   ");
    theirs.replace(theirs.find("\t)"), 2, "   )\n");
    const std::string wanted =
        presetOf("4", "7", "    channel a {\n        default 0\n        key 0 5 linear()\n    }\n");
    const Merged merged = mergeOf(base, presetOf("4", "2"), theirs);
    EXPECT_EQ(merged.conflicts, Strings());
    EXPECT_EQ(merged.bytes, wanted);
    const Merged file = mergeOf(fileOf({{"p", base}}), fileOf({{"p", presetOf("4", "2")}}),
                                fileOf({{"p", theirs}, {"q", base}}));
    EXPECT_EQ(file.conflicts, Strings());
    EXPECT_EQ(file.bytes, fileOf({{"p", wanted}, {"q", base}}));
    std::string noted = theirs;
    noted.replace(noted.find("version 0.8"), 11, "version 0.8\n# mine\n");
    const Merged kept = mergeOf(base, presetOf("4", "2"), noted);
    ASSERT_EQ(kept.conflicts.size(), 1u);
    EXPECT_LT(kept.conflicts[0].size(), 400u);
    EXPECT_EQ(kept.conflicts[0].find('\n'), std::string::npos);
    noted = theirs;
    noted.replace(noted.find("channels"), 8, "channels # mine\n");
    EXPECT_EQ(mergeOf(base, presetOf("4", "2"), noted).conflicts.size(), 1u);
    // A file of them with a comment between is one thing, too.
    std::string framed = fileOf({{"p", presetOf("1", "9")}});
    framed.insert(framed.find("section"), "# between\n");
    const Merged whole =
        mergeOf(fileOf({{"p", base}}), framed, fileOf({{"p", presetOf("4", "2")}}));
    EXPECT_EQ(whole.conflicts.size(), 1u);
    EXPECT_EQ(whole.bytes, framed);
}

} // namespace
