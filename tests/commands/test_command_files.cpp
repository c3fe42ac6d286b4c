// Files of dialog commands: what is read from them, and the parameters that are made of it.

#include "CommandText.h"

#include <DS/DS_CommandList.h>
#include <DS/commands/DS_ParmPrivate.h>
#include <scripts/ScriptText.h>

#include <cstring>
#include <iterator>
#include <random>
#include <utility>

namespace
{

std::string namesOf(const DS_CommandList &list)
{
    std::string all;
    for (int i = 0; i < list.getEntries(); ++i) {
        all += (i ? "," : "") + list.getCommand(i)->getCommandName().toStdString();
    }
    return all;
}

/// A file that is read with its messages kept away from the terminal.
struct CommandFile
{
    explicit CommandFile(const std::string &text) : path(folder.write("tools.cmd", text))
    {
        KIT_ErrorManager::Scope scope(1);
        testing::internal::CaptureStderr();
        list = std::make_unique<DS_CommandList>(path.c_str());
        messages = testing::internal::GetCapturedStderr();
    }

    ScriptFolder folder;
    std::string path;
    std::unique_ptr<DS_CommandList> list;
    std::string messages;
};

void fillObjects(void *, ZEL_Name *, int, const ZEL_SpareData *, const ZEL_Parm *) {}
void fillRenderers(void *, ZEL_Name *out, int, const ZEL_SpareData *, const ZEL_Parm *)
{
    out[0].setTokenAndLabel("one", "One");
}

} // namespace

TEST(CommandFiles, Templates)
{
    const std::pair<const char *, const char *> cases[] = {
        {"{ name c }", ""},
        {"{ name c parm { name n label N type int default { 5 } } }",
         "tog.n'N' TOGGLE+cook; n'' STRING+cook def(5:5)"},
        {"{ name c parm { name n joinnext required } }", "n STRING+cook def(0:0) xcfmode=float"},
        {"{ name c parm { name t type toggle } parm { name v type vector size 3 } }",
         "tog.t't' TOGGLE+cook; t'' TOGGLE+cook; tog.v'v' TOGGLE+cook; v'' XYZ_E+cook[3]"},
        {"{ name c parm { name d label D type dir default { 0 .5 1 } } }",
         "tog.d'D' SWITCHER_EXCLUSIVE+cook[3] def(1:D (off),1:sliders,3:expressions); "
         "d.InV'D' INT_E+invisible+cook; d'D' DIRECTION_E+cook[3] def(0:0,0.5:.5,1:1); "
         "d.v0'D' STRING+cook def(0:0); d.v1'D' STRING+cook def(0.5:.5); "
         "d.v2'D' STRING+cook def(1:1)"},
        {"{ name c group { name g label G parm { name n } parm { name c type color } "
         "parm { name r required } } group { name h group { name i parm { name x required } } } }",
         "std_switcher_0 SWITCHER+cook[2] def(4:G,1:h); tog.n'n' TOGGLE+cook; "
         "n'' STRING+cook def(0:0) xcfmode=float; "
         "tog.c'c' SWITCHER_EXCLUSIVE+cook[3] def(1:c (off),1:sliders,3:expressions); "
         "c.InV'c' INT_E+invisible+cook; c RGB_E+cook[3]; c.v0'c' STRING+cook def(0:0); "
         "c.v1'c' STRING+cook def(0:0); c.v2'c' STRING+cook def(0:0); "
         "r STRING+cook def(0:0) xcfmode=float; std_switcher_1 SWITCHER+cook def(1:i); "
         "x STRING+cook def(0:0) xcfmode=float"},
        {"{ name c multiscroll { name m parm { name f# } } parm { name s type string required } }",
         "m INT_E+cook multi0 <f# FLT>; s STRING+cook"},
        {"{ name c import { parm { name n required } } parm { name o obsolete } }",
         "n STRING+cook def(0:0) xcfmode=float"},
    };
    for (const auto &[text, dump] : cases) {
        const Command command(text);
        EXPECT_EQ(command.messages, "") << text;
        EXPECT_EQ(command.dump(), dump) << text;
    }
}

TEST(CommandFiles, ManyTemplates)
{
    std::string text = "{ name c ";
    for (int i = 0; i < 300; ++i) {
        text += "parm { name p" + std::to_string(i) + " option -" + std::to_string(i) +
                (i % 3 ? " type file" : " type color") + " } ";
    }
    Command command(text + "}");
    ASSERT_TRUE(command.okFlag) << command.messages;
    EXPECT_EQ(command.command->getParmList()->getEntries(), 100 * 6 + 200 * 2);
    EXPECT_EQ(command.after("c -3 0 1 0 -298 a"), "c -3 0 1 0 -298 a");
}

TEST(CommandFiles, WordsOfACommand)
{
    Command plain(
        "{ name c label Label help { one } parm { name a } icon ICON help { \"t\\\\tw\" } }");
    EXPECT_TRUE(plain.okFlag && plain.command->isValid());
    EXPECT_EQ(plain.command->getLabel(), "Label");
    EXPECT_EQ(plain.command->getIcon(), "ICON");
    EXPECT_STREQ(plain.command->getHelp(), "one\n\nt\tw\n");
    EXPECT_EQ(plain.command->getRManSyntax(), 0);

    Command rman("{ name c rman help { } }");
    EXPECT_EQ(rman.command->getRManSyntax(), 1);
    EXPECT_EQ(rman.command->getIcon(), "Question");
    EXPECT_STREQ(rman.command->getHelp(), "");
    EXPECT_EQ(rman.command->getParmList(), nullptr) << "no parameters";
    EXPECT_EQ(rman.after("\"c\" x"), "\"c\"");

    Command fileless("{ name c parm { name a } }", "");
    EXPECT_EQ(fileless.command->getParmList(), nullptr);
    EXPECT_EQ(fileless.dump(), "tog.a'a' TOGGLE+cook; a'' STRING+cook def(0:0) xcfmode=float");

    // A help text longer than any piece of it, with a tab across pieces.
    std::string word(1021, 'x');
    Command longer("{ name c help { \"" + word + "\\\\tyz\" } }");
    EXPECT_EQ(longer.command->getHelp(), word + "\tyz\n");
}

TEST(CommandFiles, Faults)
{
    const std::pair<const char *, const char *> cases[] = {
        {"", "E: Expecting open brace for script"},
        {"{ name c icon", "E: Expected icon name"},
        {"{ name c wibble }", "E: script unknown identifier wibble"},
        {"{ name c parm { type color } }", "E: parameter without a name"},
    };
    for (const auto &[text, messages] : cases) {
        Command command(text);
        EXPECT_FALSE(command.okFlag || command.command->isValid()) << text;
        EXPECT_EQ(command.messages, messages) << text;
        EXPECT_EQ(command.line(), "\"\"") << text;
        command.command->setDefaultCommand();
        command.command->enforceOptions();
        EXPECT_EQ(command.command->disableParms(), 0);
    }
}

TEST(CommandFiles, SeveralCommands)
{
    CommandFile file("words command { name a parm { name x } } between { name b parm { name y } }\n"
                     "command { wibble } command { name a label second rman }");
    EXPECT_EQ(namesOf(*file.list), "a,b,a");
    EXPECT_EQ(file.messages, file.path + " Error(2): script unknown identifier wibble\n");
    EXPECT_EQ(file.list->getFileName().toStdString(), file.path);
    EXPECT_EQ(file.list->getCommand("a"), file.list->getCommand(0));
    EXPECT_EQ(file.list->getCommand("c"), nullptr);
    EXPECT_EQ(file.list->findCommand("b"), 1);
    EXPECT_EQ(file.list->findCommand("c"), 0) << "a miss is the first one";
    EXPECT_EQ(file.list->findCommand(nullptr), 0);
    // Presets are kept by the file's name.
    EXPECT_TRUE(file.list->getCommand(0)->getParmList()->getPresetInfo());

    const auto syntax = [&] {
        std::string all;
        for (int i = 0; i < file.list->getEntries(); ++i) {
            const DS_Command &one = *file.list->getCommand(i);
            all += std::to_string(one.getRManSyntax()) + std::to_string(one.getKslSyntax()) + " ";
        }
        return all;
    };
    EXPECT_EQ(syntax(), "00 00 10 ");
    file.list->setSyntax(0);
    EXPECT_EQ(syntax(), "00 00 10 ");
    file.list->setSyntax(2);
    EXPECT_EQ(syntax(), "01 01 01 ");
    file.list->setSyntax(1);
    EXPECT_EQ(syntax(), "10 10 10 ");
    file.list->setSyntax(5);
    EXPECT_EQ(syntax(), "00 00 00 ");

    file.list->enforceOptions();
    DS_Command &first = *file.list->getCommand(0);
    KIT_String line;
    first.setCommand("a x 5");
    first.getCommand(line);
    EXPECT_EQ(line, "a x 5") << "the token is the option";

    const std::string other = file.folder.write("other.cmd", "command { name z }");
    const char *const files[] = {file.path.c_str(), other.c_str(), nullptr};
    testing::internal::CaptureStderr();
    EXPECT_EQ(namesOf(DS_CommandList(files)), "a,b,a,z");
    testing::internal::GetCapturedStderr();
}

TEST(CommandFiles, NoCommands)
{
    for (const char *const text :
         {"", "just words", "command", "command { name", "}}}", "{ { { {"}) {
        CommandFile file(text);
        ASSERT_EQ(namesOf(*file.list), "null") << text;
        DS_Command &command = *file.list->getCommand(0);
        EXPECT_EQ(command.getLabel(), "No dialogs defined");
        command.setDefaultCommand();
        KIT_String line;
        command.getCommand(line);
        EXPECT_EQ(line, "null");
    }
    KIT_ErrorManager::Scope scope(1);
    EXPECT_EQ(namesOf(DS_CommandList("nowhere.cmd")), "null");
    EXPECT_GE(scope.getManager().entries(), 1) << "a file that isn't there is told";
    const char *const none[] = {nullptr};
    EXPECT_EQ(namesOf(DS_CommandList(none)), "null");
    CommandFile missing("#include \"nowhere.dsh\"\ncommand { name a }");
    EXPECT_EQ(namesOf(*missing.list), "a");
}

TEST(CommandFiles, FromAStream)
{
    const std::string text = "command { name a parm { name x type string } } { name b }";
    KIT_IStream memory(text.data(), text.size(), KIT_IStream::TEXT);
    const DS_CommandList list(memory, "folder/some.cmd");
    EXPECT_EQ(namesOf(list), "a,b");
    EXPECT_EQ(list.getFileName(), "folder/some.cmd");
    EXPECT_EQ(CommandFile(text).list->getEntries(), list.getEntries());
    const std::string includes = "#include \"" + std::string(ZEL_TESTS_DIR) +
                                 "/../examples/commands/image.cmd\"\n{ name c }";
    KIT_IStream reduced(includes.data(), includes.size(), KIT_IStream::TEXT);
    KIT_ErrorManager::Scope scope(1);
    EXPECT_EQ(namesOf(DS_CommandList(reduced, "")), "c") << "a stream includes no file";
}

TEST(CommandFiles, RandomTokens)
{
    static constexpr const char *theTokens[] = {
        "{",    "}",        "{",       "}",     "[",         "]",       "name",   "label",
        "parm", "group",    "type",    "color", "dir",       "float",   "int",    "toggle",
        "size", "0",        "3",       "99",    "a",         "b",       "option", "-x",
        "help", "icon",     "rman",    "menu",  "default",   "import",  "range",  "multiparm",
        "#",    "required", "command", "\"\"",  "invisible", "ordinal", "-1",     "joinnext"};
    std::mt19937 random(11);
    int read = 0;
    testing::internal::CaptureStderr();
    for (int round = 0; round < 1500; ++round) {
        std::string text = "{ name c ";
        for (unsigned left = random() % 60; left > 0; --left) {
            text += std::string(theTokens[random() % std::size(theTokens)]) + " ";
        }
        KIT_ErrorManager::Scope scope(1);
        DS_Command command("tools");
        text += random() % 2 ? "}" : "parm { name z type color } }";
        KIT_IStream memory(text.data(), text.size(), KIT_IStream::TEXT);
        DS_Stream stream(memory, "s", true);
        read += command.parse(stream);
        KIT_String line;
        KIT_String again;
        command.setCommand("c -x 1 2 a b `c` -x");
        command.getCommand(line);
        command.setCommand(line);
        command.getCommand(again);
        ASSERT_EQ(again, line) << text;
    }
    testing::internal::GetCapturedStderr();
    EXPECT_GT(read, 20) << "some must be whole";
}

TEST(CommandFiles, MadeMenus)
{
    // The application requests these menus by flags of the record.
    const auto menuOf = [](unsigned flag, const char *block) {
        DS_Command command("");
        DS_Parm parm;
        KIT_IStream memory(block, std::strlen(block), KIT_IStream::TEXT);
        DS_Stream stream(memory, "s", true);
        EXPECT_TRUE(parm.parse(stream, 0));
        parm.setFlag(flag);
        command.addTemplate(&parm, false);
        const ZEL_ChoiceList *const menu = command.getTemplateList()->getChoiceListPtr();
        return std::string(!menu                                         ? "none"
                           : menu->getChoiceGenerator() == fillObjects   ? "objects"
                           : menu->getChoiceGenerator() == fillRenderers ? "renderers"
                                                                         : menuText(menu));
    };
    DS_Command::setObjectMenuBuilder(fillObjects);
    DS_Command::setRenderMenuBuilder(fillRenderers);
    EXPECT_EQ(menuOf(0x8, "{ name p }"), "objects");
    EXPECT_EQ(menuOf(0x10, "{ name p }"), "renderers");
    EXPECT_EQ(menuOf(0, "{ name p }"), "none");
    EXPECT_EQ(menuOf(0x8, "{ name p menureplace { a A } }"), " menu1(a/A)");
    // The templates end at any time.
    DS_Command many("");
    DS_Parm plain;
    for (int i = 1; i <= 40; ++i) {
        many.addTemplate(&plain, false);
        ASSERT_EQ(ZEL_Template::countTemplates(many.getTemplateList()), i);
    }
    DS_Command::setObjectMenuBuilder(nullptr);
    DS_Command::setRenderMenuBuilder(nullptr);
    EXPECT_EQ(menuOf(0x8, "{ name p }"), "none");
}
