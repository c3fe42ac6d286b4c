#include <DS/DS_Command.h>

#include <DS/DS_Stream.h>
#include <DS/commands/DS_PagePrivate.h>
#include <DS/commands/DS_ParmPrivate.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_PresetInfo.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_Template.h>

DS_Command::DS_Command(const char *file) : myFile(file, true) {}

DS_Command::~DS_Command() = default;

int DS_Command::parse(DS_Stream &stream)
{
    if (isValid() || myParmList) {
        stream.error("The command was read already");
        return 0;
    }
    constexpr bool wantBrace = true;
    constexpr bool isImport = false;
    constexpr bool clearJoin = true;
    constexpr int depth = 0;
    auto page = std::make_unique<DS_Page>();
    const int parsed = page->parse(stream, wantBrace, nullptr, isImport, clearJoin, depth);
    myRManSyntax = page->getFlag(ZEL_ScriptPage::RENDERMAN) != 0;
    myKslSyntax = 0;
    if (!parsed) {
        return 0;
    }
    myPage = std::move(page);
    myCommandName.harden(myPage->getToken());
    myLabel.harden(myPage->getLabel());
    myHelp.harden(myPage->getHelpText());
    myIcon.harden(myPage->getIcon());
    mySwitcherCount = 0;
    addPage(*myPage);
    const bool anyFlag = myTemplateCount != 0;
    addTemplate(nullptr, false);
    if (anyFlag && myFile.isstring() && myCommandName.isstring()) {
        makeList();
    }
    return 1;
}

void DS_Command::addPage(ZEL_ScriptPage &page)
{
    for (int i = 0; i < page.getParmEntries(); ++i) {
        // All records were created by newParm() of a DS_Page.
        DS_Parm *const parm = static_cast<DS_Parm *>(page.getParm(i));
        const ZEL_ScriptGroup *const group = parm->getGroup();
        if (!group || group->isMultiParm()) {
            const bool withoutFlag =
                parm->getFlag(ZEL_ScriptParm::REQUIRED) || parm->getType() == ZEL_TOGGLE_E;
            addTemplate(parm, !withoutFlag);
            continue;
        }
        addTemplate(static_cast<DS_Parm *>(group->getOwner()), false);
        for (int folder = 0; folder < group->getPageCount(); ++folder) {
            addPage(*group->getPage(folder));
        }
    }
}

void DS_Command::makeList()
{
    constexpr bool deleteChannels = false;
    myPresetInfo = std::make_unique<ZEL_PresetInfo>(myFile, myCommandName);
    myParmList = std::make_unique<ZEL_ParmList>(myTemplates.get(), nullptr, nullptr,
                                                myPresetInfo.get(), "", deleteChannels);
}

void DS_Command::enforceOptions()
{
    if (myPage) {
        myPage->enforceOptions();
    }
}

const char *DS_Command::getHelp() const
{
    return myHelp == "\n" ? "" : myHelp.nonNullStr();
}
