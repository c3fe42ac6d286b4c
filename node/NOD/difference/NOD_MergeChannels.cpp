#include <NOD/difference/NOD_MergeChannelsPrivate.h>

#include <NOD/difference/NOD_BlockNamesPrivate.h>
#include <NOD/difference/NOD_EntryRecordsPrivate.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace
{

using Kind = NOD_RecordKind;

/// In front of what is left of a name; no name has it.
constexpr char theMark = '\1';

/// Of an item's parameter, with its numbers.
std::string tokenOf(const NOD_Record &parm)
{
    std::vector<int> numbers;
    for (const NOD_Record *at = parm.getParent(); at; at = at->getParent()) {
        if (at->getKind() == Kind::ITEM && at->getParent()) {
            numbers.push_back(NODfirstNumber(*at->getParent()) + at->getItem());
        }
    }
    std::reverse(numbers.begin(), numbers.end());
    return NOD_BlockNames::nameOf(parm.getName(), numbers);
}

void addItemParms(const NOD_Record &record, bool itemFlag, std::vector<NOD_Record *> &parms)
{
    for (const auto &part : record.getParts()) {
        const bool parmFlag = part->getKind() == Kind::PARM;
        if (parmFlag && itemFlag) {
            parms.push_back(part.get());
        }
        if (parmFlag || part->getKind() == Kind::ITEM) {
            addItemParms(*part, itemFlag || !parmFlag, parms);
        }
    }
}

std::vector<NOD_Record *> itemParmsOf(const NOD_Record &contents)
{
    std::vector<NOD_Record *> parms;
    addItemParms(contents, false, parms);
    return parms;
}

bool beginsWith(const std::string &name, const std::string &token)
{
    return !token.empty() && name.compare(0, token.size(), token) == 0;
}

bool isBound(const std::string &name)
{
    return !name.empty() && name[0] == theMark;
}

std::unique_ptr<NOD_Record> takeAway(NOD_Record &from, Kind kind, const std::string &name)
{
    if (!from.find(kind, name)) {
        return nullptr;
    }
    NOD_Record::Parts &parts = from.changeParts();
    const auto at = std::find_if(parts.begin(), parts.end(), [&](const auto &part) {
        return part->getKind() == kind && part->getName() == name;
    });
    std::unique_ptr<NOD_Record> part = std::move(*at);
    parts.erase(at);
    return part;
}

/// With a number that neither a channel of the contents nor one of those that come has.
std::string freeName(const NOD_Record &contents, const NOD_Record::Parts &coming,
                     const std::string &name)
{
    const auto isTaken = [&](const std::string &one) {
        return contents.find(Kind::CHANNEL, one) ||
               std::any_of(coming.begin(), coming.end(),
                           [&](const auto &channel) { return channel->getName() == one; });
    };
    std::string free = name + "_1";
    for (int number = 2; isTaken(free); ++number) {
        free = name + "_" + std::to_string(number);
    }
    return free;
}

/// The parameter of an item that the record is, or is in; null if there is none.
const NOD_Record *parmOf(const NOD_Record &record)
{
    const NOD_Record *at = &record;
    while (at && at->getKind() != Kind::PARM) {
        at = at->getParent();
    }
    return at;
}

} // namespace

bool NODhasItemChannels(const NOD_Record &contents)
{
    const std::vector<NOD_Record *> parms = itemParmsOf(contents);
    return std::any_of(parms.begin(), parms.end(), [](const NOD_Record *parm) {
        const NOD_Record::Parts &parts = parm->getParts();
        return std::any_of(parts.begin(), parts.end(), [&](const auto &part) {
            return part->getKind() == Kind::DRIVER &&
                   beginsWith(NODtextOf(part->getValue()), tokenOf(*parm));
        });
    });
}

void NODbindChannels(NOD_Record &contents)
{
    for (NOD_Record *const one : itemParmsOf(contents)) {
        NOD_Record &parm = *one;
        const std::string token = tokenOf(parm);
        NOD_Record::Parts channels;
        for (const auto &part : parm.getParts()) {
            const std::string name = NODtextOf(part->getValue());
            if (part->getKind() != Kind::DRIVER || !beginsWith(name, token)) {
                continue;
            }
            const std::string rest = theMark + name.substr(token.size());
            part->setValue(rest);
            if (auto channel = takeAway(contents, Kind::CHANNEL, name)) {
                channel->setName(rest);
                channels.push_back(std::move(channel));
            }
        }
        NOD_Record::Parts &parts = parm.changeParts();
        parts.insert(parts.begin(), std::make_move_iterator(channels.begin()),
                     std::make_move_iterator(channels.end()));
        parm.adoptParts();
    }
}

void NODreleaseChannels(NOD_Record &contents)
{
    NOD_Record::Parts channels;
    for (NOD_Record *const one : itemParmsOf(contents)) {
        NOD_Record &parm = *one;
        const std::string token = tokenOf(parm);
        std::vector<std::string> names;
        for (const auto &part : parm.getParts()) {
            const std::string name = NODtextOf(part->getValue());
            if (part->getKind() == Kind::DRIVER && isBound(name)) {
                part->setValue(token + name.substr(1));
            } else if (part->getKind() == Kind::CHANNEL) {
                names.push_back(part->getName());
            }
        }
        for (const std::string &name : names) {
            channels.push_back(takeAway(parm, Kind::CHANNEL, name));
            channels.back()->setName(isBound(name) ? token + name.substr(1) : name);
        }
    }
    for (const auto &channel : channels) {
        if (NOD_Record *const stray = contents.find(Kind::CHANNEL, channel->getName())) {
            stray->setName(freeName(contents, channels, stray->getName())); // drives nothing
        }
    }
    NOD_Record::Parts &parts = contents.changeParts();
    auto at = parts.end();
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        const bool channelFlag = (*part)->getKind() == Kind::CHANNEL;
        const bool parmFlag = (*part)->getKind() == Kind::PARM;
        at = channelFlag ? part + 1 : parmFlag && at == parts.end() ? part : at;
    }
    parts.insert(at, std::make_move_iterator(channels.begin()),
                 std::make_move_iterator(channels.end()));
    contents.adoptParts();
}

NOD_RecordPath NODreleasedPath(const NOD_Record &record)
{
    const NOD_RecordPath path = NODpathOf(record);
    const auto channel = std::find_if(path.begin(), path.end(), [](const NOD_PathStep &step) {
        return step.kind == Kind::CHANNEL && isBound(step.name);
    });
    const NOD_Record *const parm = parmOf(record);
    if (channel == path.end() || !parm) {
        return path;
    }
    // Blocks and nodes in front: channels are beside the outermost parameter.
    const auto outermost = std::find_if(
        path.begin(), path.end(), [](const NOD_PathStep &step) { return step.kind == Kind::PARM; });
    NOD_RecordPath released(path.begin(), outermost);
    released.insert(released.end(), channel, path.end());
    released[std::size_t(outermost - path.begin())].name = tokenOf(*parm) + channel->name.substr(1);
    return released;
}

void NODreleaseNames(const NOD_Record &record, NOD_Record &copy)
{
    const std::string name = NODtextOf(copy.getValue());
    const NOD_Record *const parm = parmOf(record);
    if (copy.getKind() == Kind::DRIVER && isBound(name) && parm) {
        copy.setValue(tokenOf(*parm) + name.substr(1));
    } else if (copy.getKind() == Kind::CHANNEL && isBound(copy.getName()) && parm) {
        copy.setName(tokenOf(*parm) + copy.getName().substr(1));
    }
    const NOD_Record::Parts &parts = record.getParts();
    for (std::size_t i = 0; i < parts.size(); ++i) {
        NODreleaseNames(*parts[i], *copy.getParts()[i]);
    }
}
