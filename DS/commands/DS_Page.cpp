#include <DS/commands/DS_PagePrivate.h>

#include <DS/DS_Stream.h>
#include <DS/commands/DS_ParmPrivate.h>

#include <memory>

int DS_Page::countParameters() const
{
    int count = 0;
    for (int i = getParmEntries() - 1; i >= 0; --i) {
        const ZEL_ScriptParm &parm = *getParm(i);
        const bool oneFlag = parm.getGroup() || parm.getFlag(DS_Parm::VECTOR) ||
                             parm.getFlag(ZEL_ScriptParm::REQUIRED) ||
                             parm.getType() == ZEL_TOGGLE_E;
        count += oneFlag ? 1 : 2;
    }
    return count;
}

ZEL_ScriptParm *DS_Page::newParm()
{
    std::unique_ptr<DS_Parm> parm(new DS_Parm);
    parm->setFlag(ZEL_ScriptParm::KEEP_TEXT);
    return parm.release();
}

ZEL_ScriptPage *DS_Page::newImportPage()
{
    return new DS_Page;
}

int DS_Page::parseHelp(DS_Stream &stream, KIT_String &help)
{
    if (!ZEL_ScriptPage::parseHelp(stream, help)) {
        return 0;
    }
    if (myHelpText.isstring()) {
        myHelpText += '\n';
    }
    appendHelp(help);
    return 1;
}

void DS_Page::appendHelp(const KIT_String &text)
{
    constexpr size_t theMostBytes = 1022;
    char piece[theMostBytes];
    size_t used = 0;
    const std::string_view all = text.view();
    for (size_t i = 0; i < all.size(); ++i) {
        const bool tabFlag = all[i] == '\\' && i + 1 < all.size() && all[i + 1] == 't';
        i += tabFlag;
        piece[used++] = tabFlag ? '\t' : all[i];
        if (used == theMostBytes) {
            myHelpText.append(piece, used);
            used = 0;
        }
    }
    myHelpText.append(piece, used);
}

int DS_Page::handleUnknown(DS_Stream &stream, KIT_String &token)
{
    if (token != "icon") {
        return ZEL_ScriptPage::handleUnknown(stream, token);
    }
    if (!stream.getToken(myIcon)) {
        stream.error("Expected icon name");
        return 0;
    }
    return 1;
}
