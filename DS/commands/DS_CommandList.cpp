#include <DS/DS_CommandList.h>

#include <DS/DS_Command.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_IStream.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

namespace
{

/// The entry used for a file without commands.
constexpr char theDefaultEntry[] = "{\n"
                                   "    name null\n"
                                   "    label \"No dialogs defined\"\n"
                                   "    default null\n"
                                   "}\n";

const char *lastPart(const char *path)
{
    const char *const slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

} // namespace

DS_CommandList::DS_CommandList(const char *file)
{
    load(file);
    defaultEntry();
}

DS_CommandList::DS_CommandList(KIT_IStream &stream, const char *name)
{
    constexpr bool reduced = true;
    myFileName.harden(name);
    DS_Stream text(stream, myFileName.nonNullStr(), reduced);
    load(text);
    defaultEntry();
}

DS_CommandList::DS_CommandList(DS_Stream &stream, const char *name)
{
    myFileName.harden(name);
    load(stream);
    defaultEntry();
}

DS_CommandList::DS_CommandList(const char *const *files)
{
    for (; files && *files; ++files) {
        load(*files);
    }
    defaultEntry();
}

DS_CommandList::~DS_CommandList() = default;

void DS_CommandList::load(const char *file)
{
    myFileName.harden(file);
    DS_Stream stream(myFileName.nonNullStr(), -1);
    load(stream);
}

void DS_CommandList::load(DS_Stream &stream)
{
    KIT_String token;
    while (stream.getToken(token)) {
        if (token == "{") {
            stream.ungetToken(token);
        } else if (token != "command") {
            continue;
        }
        readCommand(stream, lastPart(myFileName.nonNullStr()));
    }
}

void DS_CommandList::readCommand(DS_Stream &stream, const char *file)
{
    auto command = std::make_unique<DS_Command>(file);
    if (command->parse(stream)) {
        myCommands.append(std::move(command));
    }
}

void DS_CommandList::defaultEntry()
{
    if (!myCommands.isEmpty()) {
        return;
    }
    constexpr bool reduced = true;
    KIT_IStream text(theDefaultEntry, sizeof(theDefaultEntry) - 1, KIT_IStream::TEXT);
    DS_Stream stream(text, "<internal>", reduced);
    readCommand(stream, "");
    if (myCommands.isEmpty()) {
        std::fputs("Programming error\n", stderr);
    }
}

std::int64_t DS_CommandList::find(const char *name) const
{
    for (std::int64_t i = 0; i < myCommands.entries(); ++i) {
        if (myCommands[i]->getCommandName() == name) {
            return i;
        }
    }
    return -1;
}

DS_Command *DS_CommandList::getCommand(const char *name) const
{
    const std::int64_t found = find(name);
    return found >= 0 ? myCommands[found].get() : nullptr;
}

int DS_CommandList::findCommand(const char *name) const
{
    const std::int64_t found = find(name);
    return found >= 0 ? static_cast<int>(found) : 0;
}

void DS_CommandList::enforceOptions()
{
    for (std::int64_t i = myCommands.entries() - 1; i >= 0; --i) {
        myCommands[i]->enforceOptions();
    }
}

void DS_CommandList::setSyntax(int syntax)
{
    constexpr int rman = 1;
    constexpr int ksl = 2;
    if (syntax == 0) {
        return;
    }
    for (const std::unique_ptr<DS_Command> &command : myCommands) {
        command->setRManSyntax(syntax == rman);
        command->setKslSyntax(syntax == ksl);
    }
}
