// The same for what is around lists: menus, data, batches, commands, the writer, channels and their
// expressions, texts, single spare parameters, the graph, ramps, conditions, tables of names.

#include "Refusal.h"

#include "FaultNode.h"

#include <DS/DS_Command.h>
#include <KIT/KIT_Ramp.h>
#include <NOD/NOD_Graph.h>
#include <TRK/TRK_FullKey.h>
#include <TRK/TRK_ReferenceScope.h>
#include <ZEL/ZEL_BatchList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_FileMenu.h>
#include <ZEL/ZEL_RampUtils.h>
#include <common/Repeated.h>
#include <menus/MenuScene.h>
#include <micronodes/MicroNodeList.h>
#include <writer/Rewrite.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace
{

/// Streams: a list of all kinds read, and written again.
template <bool isBinary>
struct ReadingAllKinds
{
    bool run() { return other.load(saved, isBinary); }
    std::string text(Texts texts) { return textOf(other.list(), texts) + other.channels(); }
    static const std::string saved;
    FaultNode other{1, 3};
    ZEL_ParmList *list = &other.list();
};
template <bool isBinary>
const std::string ReadingAllKinds<isBinary>::saved = FaultNode(2, 2).save(isBinary);
using ReadingText = ReadingAllKinds<false>;
using ReadingBinary = ReadingAllKinds<true>;
REFUSE_EACH(ReadingText)
REFUSE_EACH(ReadingBinary)

struct WritingAllKinds
{
    bool run()
    {
        std::ostringstream text, binary, channels;
        node.list().save(text, false, false);
        node.list().save(binary, true, true);
        const bool isSaved = node.node.getChannels().save(channels);
        saved = text.str() + binary.str() + channels.str();
        return isSaved && text.good() && binary.good();
    }
    std::string text(Texts texts)
    {
        return textOf(node.list(), texts) + (texts == Texts::READ ? saved : "");
    }
    FaultNode node{1};
    ZEL_ParmList *list = &node.list();
    std::string saved;
};
REFUSE_EACH(WritingAllKinds)

/// Values: set, keyed, locked, named otherwise, overridden, hardened and given back.
struct SettingAllKinds
{
    bool run()
    {
        list->clearAndDestroyChannels();
        list->revertToDefaults(0.0);
        list->setInt(2, "blocks", 0, 0.0, false);
        list->evalInt("blocks", 0, 0.0);
        for (const char *const token : {"move", "whole", "frac", "kind", "at1"}) {
            ZEL_Parm &parm = *list->getParmPtr(token);
            parm.setValue(0.0, 2.0, false, 0, ZEL_ADDKEY_PENDING, false);
            parm.setValue(1.0, 3.0, true, 0, ZEL_ADDKEY_HARDEN, true);
        }
        list->setString(KIT_String("`1 + 2` of a longer text"), TRK_MEANING_LITERAL, "words", 1,
                        0.0, true);
        ZEL_Parm &move = *list->getParmPtr("move");
        move.setExpression(0.0, "ch(\"movey\") + sin($T)", TRK_LANGUAGE_NATIVE, 2, true, false,
                           true);
        list->setChannelAlias(&move, 1, KIT_StringHolder("another_name"));
        move.setOverride(0, 1, "over", ZEL_OVERRIDE_OVERRIDDEN);
        move.setOverride(0, -1, "", ZEL_OVERRIDE_OVERRIDDEN);
        move.setLockedFlag(0, true);
        move.setLockedFlag(0, false);
        list->hardenChanges(1.0, true, "*", nullptr);
        list->getParmPtr("lit")->addChannel(0);
        list->getParmPtr("lit")->removeChannel(0);
        std::ostringstream aliases;
        list->saveChannelAliases(aliases, false);
        saved = aliases.str();
        return true;
    }
    std::string text(Texts texts) { return textOf(*list, texts) + node.channels() + saved; }
    FaultNode node{1};
    ZEL_ParmList *list = &node.list();
    std::string saved;
};
REFUSE_EACH(SettingAllKinds)

/// Data: a document read, kept in a parameter, and written again.
struct KeepingData : OneParm
{
    KeepingData() : OneParm(ZEL_KEY_VALUE_DICT, 1) { build(); }
    bool run()
    {
        const std::string json =
            "{\"a key of a certain length\":[1,2.5,\"two\",null,{\"b\":true}]" +
            repeated(",\"more\":[[[\"a text of a certain length\"]]]", refusalScale()) + "}";
        KIT_IStream is(json.data(), json.size(), KIT_IStream::TEXT);
        const std::shared_ptr<const ZEL_DataItem> item =
            ZEL_DataFactory::parseAscii("key_value_dict", is);
        instance->setValue(0.0, item, false, 0, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
        bool done = item != nullptr;
        for (const bool binary : {false, true}) {
            const std::string bytes = saved(binary);
            done = load(bytes, binary) && done;
        }
        KIT_String value;
        instance->getValue(list.get(), 0.0, value, 0, true, 1);
        shown = value.toStdString();
        return done;
    }
    std::string text(Texts) { return shown + saved(); }
    std::string shown;
};
REFUSE_EACH(KeepingData)

struct MakingABatch
{
    MakingABatch() { takeMessages(); }
    bool run()
    {
        batch = std::make_unique<ZEL_BatchList>();
        const ZEL_BatchType types[] = {ZEL_BATCH_INT, ZEL_BATCH_REAL, ZEL_BATCH_STRING};
        bool done = true;
        for (int i = 0; i < 6; ++i) {
            done = batch->addParm("borrowed", types[i % 3], 1 + 3 * i, nullptr) && done;
        }
        const std::vector<const char *> texts(16, "a text of a certain length");
        for (int i = 2; i < batch->entries(); i += 3) {
            done = (*batch)(i)->setValue(texts.data()) && done;
        }
        for (int i = 0; i < batch->entries(); ++i) {
            batch->setEvaluator(i);
            done = batch->setEvaluated(i, 0) && done;
        }
        if (done) {
            ZEL_BatchList copy(*batch);
            *batch = copy;
        }
        return done && batch->validate();
    }
    std::string text(Texts)
    {
        std::string all;
        for (int i = 0; batch && i < batch->entries(); ++i) {
            const ZEL_BatchParm &parm = *(*batch)(i);
            all += std::string(parm.getName() ? parm.getName() : "-") + " ";
            const char *const text = parm.getType() == ZEL_BATCH_STRING ? parm.getString(0) : "";
            all += std::to_string(parm.getVectorSize()) + (text ? text : "-") + " ";
        }
        KIT_ValArray<int> ops;
        return all + std::to_string(batch ? batch->getEvaluatingOps(ops) : 0);
    }
    std::unique_ptr<ZEL_BatchList> batch;
};
REFUSE_EACH(MakingABatch)

void generateNames(void *, ZEL_Name *names, int, const ZEL_SpareData *, const ZEL_Parm *)
{
    names[0].setTokenAndLabel("a token of a certain length", "a label of a certain length");
    names[1].setTokenAndLabel("two", "Two");
    names[2].setTokenAndLabel(nullptr, nullptr);
}

struct AskingMenus : MenuNode
{
    AskingMenus() { buildNode(); }
    bool run()
    {
        const ZEL_ChoiceList generated(ZEL_CHOICELIST_REPLACE, generateNames);
        const ZEL_ChoiceList script(ZEL_CHOICELIST_REPLACE,
                                    "one \"Label one of a certain length\" two Two",
                                    TRK_SCRIPT_COMMAND);
        ZEL_ChoiceList copy(script);
        shown = namesOf(generated, &parm("menu")) + "|" + namesOf(copy, &parm("menu")) + "|" +
                tokenOf(script, 1, &parm("menu"));
        return true;
    }
    std::string text(Texts texts) { return shown + textOf(*list, texts); }
    std::string shown;
};
REFUSE_EACH(AskingMenus)

struct ReadingAMenuFile
{
    bool run()
    {
        const std::string lines = repeated("a.pic \"A picture of a certain length\"\n"
                                           "b.pic 'B' # comment\n-\nc\n",
                                           refusalScale());
        KIT_IStream is(lines.data(), lines.size(), KIT_IStream::TEXT);
        menu = std::make_unique<ZEL_FileMenu>(ZEL_FileMenu::IMAGE);
        menu->readRows(is);
        return true;
    }
    std::string text(Texts)
    {
        std::string all;
        for (int i = 0; menu && i < menu->getNumRows(); ++i) {
            all += menu->getRow(i)->getTokenRef().nonNullStr() + std::string("=") +
                   menu->getRow(i)->getLabelRef().nonNullStr() + " ";
        }
        return all;
    }
    std::unique_ptr<ZEL_FileMenu> menu;
};
REFUSE_EACH(ReadingAMenuFile)

/// Menus and expressions in Python.
struct AskingPython : MenuNode
{
    AskingPython()
    {
        buildNode();
        nodes.add("/obj/test", *this);
        // An interpreter that gets no memory for its start isn't there for the rest of the process.
        namesOf(pythonMenu("[]"), &parm("menu"));
        parm("n").setExpression(0.0, "1", TRK_LANGUAGE_PYTHON, 0, false, false, false);
        eval("n");
    }
    bool run()
    {
        const ZEL_ChoiceList menu =
            pythonMenu("['one', 'a label of a certain length', 'two', kwargs['parm'].path()]");
        shown = namesOf(menu, &parm("menu"));
        parm("n").setExpression(0.0, "2 + ch('count')", TRK_LANGUAGE_PYTHON, 0, false, false,
                                false);
        parm("menu").setExpression(0.0, "'a text of a certain length'", TRK_LANGUAGE_PYTHON, 0,
                                   false, false, false);
        shown += textOf(*list, Texts::READ);
        return tracebacks.take().empty();
    }
    std::string text(Texts texts) { return shown + textOf(*list, texts); }
    MenuNodes nodes;
    Tracebacks tracebacks;
    std::string shown;
};
TEST(RefusedMemory, AskingPython)
{
    if (!SNKisPythonBuiltIn()) {
        GTEST_SKIP() << "this build has no Python";
    }
    refuseEach(workType<AskingPython>("AskingPython"));
}

struct RunningACommand
{
    bool run()
    {
        static const std::string theScript =
            "{ name tool label \"A tool of a certain length\" help { \"what it does\" }"
            " parm { name n option -n type int }"
            " parm { name f option -f type float size 2 default { 1 2 } }"
            " parm { name s option -s type string }"
            " parm { name m option -m type ordinal menu { one 1 two 2 } }"
            " parm { name c option -c type color range { 0! 1! } }"
            " parm { name p type string } }";
        command = std::make_unique<DS_Command>("a file of a certain length");
        if (!parseScript(*command, theScript) || !command->isValid()) {
            return false;
        }
        command->setCommand(
            "tool -n 5 -f 1.50 -2 -s 'words in quotes' -m two -c 0.5 1 0 the_last_of_the_words");
        command->enforceOptions();
        command->disableParms();
        KIT_String result;
        command->getCommand(result);
        line = result.toStdString();
        return true;
    }
    std::string text(Texts texts)
    {
        const ZEL_ParmList *const list = command ? command->getParmList() : nullptr;
        return line + "|" + (list ? textOf(*list, texts) : "");
    }
    std::unique_ptr<DS_Command> command;
    std::string line;
};
REFUSE_EACH(RunningACommand)

struct RewritingAScript
{
    bool run()
    {
        static const std::string theScript =
            "{ name d label \"A dialog of a certain length\" help { \"what it does\" }\n"
            "inputlabel 1 \"The first input\" parmtag { a b }\n"
            "group { name g label G parm { name a type string default { \"a text\" }\n"
            " menu { m M n N } disablewhen \"{ b == 1 } { b > 2 c != x }\" help \"a help\" }\n"
            " parm { name b type vector size 3 default { 1 2 3 } range { 0! 1 } } }\n"
            "parm { name s type string menu { [ \"names = ['a', 'a label of some length']\" ]\n"
            " [ \"return names\" ] language python } }\n"
            "multiparm { name m label M parm { name c# type toggle } } }\n";
        DS_ScriptReader reader("s.ds");
        if (!parseScript(reader, theScript)) {
            return false;
        }
        std::ostringstream os;
        DS_Creator writer(reader, "test");
        const bool isPrepared = writer.prepareToWriteOutput();
        const bool done = writer.openOutput(os) && writer.writeOutput() && os.good();
        written = maskTime(os.str());
        return done && isPrepared;
    }
    std::string text(Texts) { return written; }
    std::string written;
};
REFUSE_EACH(RewritingAScript)

struct KeepingChannels
{
    KeepingChannels() { takeMessages(); }
    bool run()
    {
        while (channels.entries()) {
            channels.deleteChannel(channels.getChannel(0));
        }
        TRK_Channel *const first = channels.addChannel("a_channel_of_a_certain_length");
        channels.setChannelAlias(first, "its_alias");
        TRK_FullKey key;
        key.expression = KIT_StringHolder("bezier()");
        for (const double time : {0.0, 2.0, 1.0}) {
            key.time = time;
            key.in.value = key.out.value = 3.0 * time;
            first->putFullKey(key);
        }
        TRK_Channel *const second = channels.addChannel("second");
        bool done = channels.renameChannel(second, "the_second_channel_of_them") && first;
        std::ostringstream os;
        done = channels.save(os) && done;
        const std::string saved = os.str();
        KIT_IStream is(saved.data(), saved.size(), KIT_IStream::TEXT);
        done = channels.load(is) && done;
        return channels.changeString("bezier", "linear", false) >= 0 && done;
    }
    std::string text(Texts)
    {
        std::string all;
        for (int i = 0; i < channels.entries(); ++i) {
            const TRK_Channel *const channel = channels.getChannel(i);
            const KIT_StringHolder &name = channel->getName();
            all += name.nonNullStr() + std::string(channels.getChannel(name) == channel ? "" : "!");
            all += "=" + number(channels.evaluate(channel, 0.5, false, BASgetSTID())) + " ";
        }
        std::ostringstream os;
        channels.save(os);
        return all + os.str();
    }
    TRK_Collection channels;
};
REFUSE_EACH(KeepingChannels)

/// Expressions compiled and evaluated, texts with backticks expanded.
struct Evaluating : MultiList
{
    Evaluating()
    {
        top.add(ZEL_FLT, 5, "n");
        top.add(ZEL_STRING, 3, "s");
        top.add(ZEL_FILE, 1, "file");
        buildTop();
    }
    bool run()
    {
        animate("n", "ch(\"n2\") * 2 + max(1, 2, 3)", 0);
        animate("n", "if($T > 1, strlen(\"a text of a certain length\"), $F)", 1);
        animate("n", "strlen(strcat(chs(\"s1\"), \" and a text of a certain length\"))", 2);
        const auto setText = [&](const char *token, const char *text, int index) {
            parm(token).setValue(0.0, text, TRK_MEANING_LITERAL, false, index, ZEL_ADDKEY_PENDING,
                                 false);
        };
        setText("s", "the text `strcat(\"a\", chs(\"s2\"))` of $F and ${F} and $HOME", 0);
        setText("s", "second of a certain length", 1);
        setText("file", "a `1 + 2` path/$F.pic", 0);
        animate("s", "strcat(\"a text of a certain length \", chs(\"s2\"))", 2);
        const std::uint64_t lost = BASfailedAllocations();
        shown = textOf(*list, Texts::READ);
        shown = lost == BASfailedAllocations() ? shown : "";
        return true;
    }
    std::string text(Texts texts) { return textOf(*list, texts); }
    std::string shown;
};
REFUSE_EACH(Evaluating)

/// Spare parameters of a node, one by one.
struct AddingSpares
{
    AddingSpares()
    {
        top.add(ZEL_FLT, 1, "fix");
        innerItems.add(ZEL_STRING, 1, "ms#", "S #");
        one.add(ZEL_XYZ, 3, "a");
        one.addMulti(ZEL_MULTITYPE_LIST, "m", innerItems.templates(), 1);
        one.add(ZEL_STRING, 1, "b");
        node = std::make_unique<NOD_Node>(top.templates(), nullptr);
        list = &node->getParms();
        takeMessages();
    }
    bool run()
    {
        bool done = true;
        for (int i = 0; i < 3; ++i) {
            const ZEL_Template &spare = one.templates()[i];
            node->removeSpareParm(spare.getToken());
            done = node->addSpareParm(spare) && done;
        }
        list->setFloat(2.0, "m", 0, 0.0, false);
        list->evalFloat("m", 0, 0.0);
        list->getParmPtr("a")->setExpression(0.0, "ch(\"fix\")", TRK_LANGUAGE_NATIVE, 0, false,
                                             false, false);
        done = node->removeSpareParm("a") && done;
        return node->addSpareParm(one.templates()[0]) && done;
    }
    std::string text(Texts texts)
    {
        return textOf(*list, texts) + std::to_string(node->getChannels().entries());
    }
    Block top, one, innerItems;
    std::unique_ptr<NOD_Node> node;
    ZEL_ParmList *list;
};
REFUSE_EACH(AddingSpares)

/// The graph: nodes of components made, edges from expressions, a change that reaches what reads it.
struct FollowingTheGraph
{
    FollowingTheGraph()
    {
        top.add(ZEL_XYZ, 3, "t");
        top.add(ZEL_FLT, 1, "r");
        top.add(ZEL_STRING, 1, "s");
        node = std::make_unique<NOD_Node>(top.templates(), nullptr);
        list = &node->getParms();
        for (const auto &[token, expression] :
             {std::pair("r", "ch(\"tx\") + ch(\"ty\")"), {"t", "ch(\"ty\") * 2"}}) {
            list->getParmPtr(token)->setExpression(0.0, expression, TRK_LANGUAGE_NATIVE, 0, false,
                                                   false, false);
        }
        list->setString(KIT_String("`ch(\"r\")` of it"), TRK_MEANING_LITERAL, "s", 0, 0.0, false);
        takeMessages();
    }
    bool run()
    {
        graph.reset();
        graph = std::make_unique<NOD_Graph>(*node);
        graph->rebuild(0.0);
        list->parmMicroNode(0, 2)->addExplicitInput(*list->parmMicroNode(0, 1));
        list->constParmMicroNode(1, 0);
        list->addContextOptionDep("an option of a certain length");
        list->setFloat(number += 1.0, "t", 1, 0.0, true);
        graph->update(0.0);
        return true;
    }
    std::string text(Texts texts)
    {
        KIT_Array<LNK_MicroNode *> inputs, outputs;
        list->getParmInputList(inputs, false);
        list->getParmOutputList(outputs, false);
        KIT_StringArray options;
        list->getContextOptionDeps(options);
        list->setFloat(1.0, "t", 1, 0.0, true);
        return nodeNames(inputs) + "|" + nodeNames(outputs) + "|" + joined(options) +
               textOf(*list, texts);
    }
    Block top;
    double number = 1.0;
    std::unique_ptr<NOD_Node> node;
    ZEL_ParmList *list;
    std::unique_ptr<NOD_Graph> graph;
};
REFUSE_EACH(FollowingTheGraph)

/// What a graph had no memory to do, its next update does.
struct UpdatingTheGraph : FollowingTheGraph
{
    UpdatingTheGraph()
    {
        graph = std::make_unique<NOD_Graph>(*node);
        graph->rebuild(0.0);
        graph->update(0.0);
        list->setFloat(2.0, "t", 1, 0.0, true);
    }
    bool run()
    {
        graph->update(0.0);
        return true;
    }
    std::string text(Texts texts)
    {
        std::string dirty;
        for (int i = 0; i < list->getEntries(); ++i) {
            for (int k = 0; k < list->getParmPtr(i)->getVectorSize(); ++k) {
                dirty += list->parmMicroNode(i, k)->requiresUpdate() ? "d" : "-";
            }
        }
        return dirty + textOf(*list, texts);
    }
};
REFUSE_EACH(UpdatingTheGraph)

/// Who listens to references may have no memory for one, and still hears of the next.
struct ListeningToReferences : MultiList, TRK_ReferenceListener
{
    ListeningToReferences()
    {
        top.add(ZEL_FLT, 3, "n");
        buildTop();
        animate("n", "ch(\"n2\") + ch(\"../a/way/that/leads/nowhere\") + ch(\"n3\")", 0);
    }
    bool run()
    {
        told.clear();
        value = list->evalFloat("n", 0, 0.0);
        return true;
    }
    void referenceRead(const TRK_Collection &, const KIT_StringRef &name) override
    {
        told.push_back(name.nonNullStr() + std::string(" read, in a text of a certain length"));
    }
    void pathLost(const TRK_Collection &, const KIT_StringRef &path) override
    {
        told.push_back(path.nonNullStr() + std::string(" lost"));
    }
    std::string text(Texts)
    {
        std::string all;
        for (const std::string &each : told) {
            all += each + ";";
        }
        return all + std::to_string(value);
    }
    std::vector<std::string> told;
    double value = 0.0;
    TRK_ReferenceScope scope{*this};
};
REFUSE_EACH(ListeningToReferences)

struct ConvertingARamp : MultiList
{
    ConvertingARamp()
    {
        top.addMulti(ZEL_MULTITYPE_RAMP_RGB, "r", nullptr, 2, &fromZero);
        buildTop();
    }
    bool run()
    {
        KIT_Ramp ramp;
        const float color[4] = {0.25f, 0.5f, 0.75f, 1.0f};
        for (int i = 0; i < 2 + refusalScale(); ++i) {
            ramp.insertNode(i, 0.25f * float(i), color, KIT_BASIS_LINEAR, false);
        }
        ZEL_RampUtils::updateMultiParmFromRamp(0.0, ramp, parm("r"), false, ZEL_ADDKEY_PENDING);
        ZEL_RampUtils::updateRampFromMultiParm(0.0, parm("r"), &ramp, nullptr, nullptr);
        std::ostringstream os;
        ZEL_RampUtils::setRampDefaultFromParm(os, parm("r"));
        const std::string saved = os.str();
        ZEL_RampUtils::getRampParmFromDefault(parm("r"), saved.c_str());
        shown = saved + std::to_string(ramp.getNodeCount());
        return os.good();
    }
    std::string text(Texts texts) { return shown + textOf(*list, texts); }
    ZEL_Range fromZero{ZEL_RANGE_HARD, 0.0, ZEL_RANGE_FREE, 0.0};
    std::string shown;
};
REFUSE_EACH(ConvertingARamp)

struct AskingConditions : MultiList
{
    AskingConditions()
    {
        top.add(ZEL_FLT, 1, "n");
        top.add(ZEL_STRING, 1, "s");
        buildTop();
    }
    bool run()
    {
        KIT_StringHolder message;
        condition = std::make_unique<ZEL_Conditional>(ZEL_CONDTYPE_DISABLE);
        shown.clear();
        const std::string text =
            repeated("{ n# == 1 s# != \"a text of a certain length\" } ", refusalScale()) +
            "{ s ~= a+b n < 1 }";
        const bool isRead = condition->setListFromString(text.c_str(), message);
        KIT_ValArray<int> numbers;
        numbers.append(12345);
        const std::unique_ptr<ZEL_Conditional> instanced(condition->instance(numbers));
        parm("s").setValue(0.0, "aaaaaaaaaaaaaaaaaaaaaaaaab", TRK_MEANING_LITERAL, false, 0,
                           ZEL_ADDKEY_PENDING, false);
        shown = std::to_string(condition->eval(parm("n"), *list, nullptr));
        for (const ZEL_Conditional *one : {condition.get(), instanced.get()}) {
            KIT_String written;
            one->getStringFromList(written);
            shown += written.nonNullStr();
        }
        return isRead;
    }
    std::string text(Texts) { return shown; }
    std::unique_ptr<ZEL_Conditional> condition;
    std::string shown;
};
REFUSE_EACH(AskingConditions)

struct ShiftingNames
{
    static std::string name(int i) { return "a_name_of_a_certain_length_" + std::to_string(i); }
    bool run()
    {
        for (; steps < count; ++steps) {
            table.insert(KIT_StringRef(name(steps).c_str()), steps);
        }
        for (; steps < count + 6; ++steps) {
            const int i = steps - count;
            table.removeIfValue(KIT_StringRef(name(7 * i).c_str()), 6 * i);
            table.shiftAbove(6 * i);
        }
        table.insert(KIT_StringRef(name(count).c_str()), count);
        return true;
    }
    std::string text(Texts) const
    {
        std::string all;
        for (int i = 0; i <= count; ++i) {
            all += std::to_string(table.find(KIT_StringRef(name(i).c_str()))) + " ";
        }
        return all;
    }
    const int count = 50 * refusalScale();
    int steps = 0;
    ZEL_NameTable table;
};
REFUSE_EACH(ShiftingNames)

} // namespace
