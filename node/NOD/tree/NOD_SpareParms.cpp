#include <NOD/NOD_SpareParms.h>

#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <NOD/tree/NOD_NumberPatternPrivate.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmNameMap.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_Type.h>

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace
{

/// What fits a parameter's token: a stream's names can be anything.
bool isValidToken(std::string_view name)
{
    constexpr std::size_t theLongest = 255;
    const auto fits = [](char c) {
        return c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               (c >= '0' && c <= '9');
    };
    return !name.empty() && name.size() <= theLongest && !(name[0] >= '0' && name[0] <= '9') &&
           std::all_of(name.begin(), name.end(), fits);
}

std::unique_ptr<ZEL_Template[]> copies(const std::vector<const ZEL_Template *> &descriptions)
{
    std::unique_ptr<ZEL_Template[]> templates(new ZEL_Template[descriptions.size() + 1]);
    for (std::size_t i = 0; i < descriptions.size(); ++i) {
        templates[i] = *descriptions[i];
    }
    return templates;
}

/// Of a token that occurs twice the last description counts.
std::vector<const ZEL_Template *> lastOfEach(const std::vector<const ZEL_Template *> &descriptions)
{
    std::set<std::string> tokens;
    std::vector<const ZEL_Template *> last;
    for (std::size_t i = descriptions.size(); i-- > 0;) {
        if (tokens.insert(descriptions[i]->getTokenRef().nonNullStr()).second) {
            last.push_back(descriptions[i]);
        }
    }
    std::reverse(last.begin(), last.end());
    return last;
}

} // namespace

struct NOD_SpareParms::SpareFloat
{
    explicit SpareFloat(const char *token) : name(token, token), description(ZEL_FLT, 1, &name)
    {
        name.harden();
    }

    ZEL_Name name;
    ZEL_Template description;
};

NOD_SpareParms::NOD_SpareParms() = default;
NOD_SpareParms::~NOD_SpareParms() = default;

// ---------------------------------------------------------------------- //
// The set
// ---------------------------------------------------------------------- //

NOD_SpareParms::Descriptions NOD_SpareParms::present() const
{
    Descriptions descriptions;
    for (const auto &templates : myTemplates) {
        for (const ZEL_Template *at = templates.get(); !at->isTerminator(); ++at) {
            descriptions.push_back(at);
        }
    }
    return descriptions;
}

void NOD_SpareParms::rebuild(ZEL_ParmList &list, const Descriptions &descriptions)
{
    constexpr bool forceCopy = false;
    Templates fresh;
    fresh.push_back(copies(lastOfEach(descriptions)));
    mySet.reset();
    myTemplates.reserve(myTemplates.size() + 1);
    try {
        list.updateSpareParmTemplates(fresh.front().get(), forceCopy);
    } catch (...) {
        // Some parameters have the new templates, and the others the old ones.
        myTemplates.push_back(std::move(fresh.front()));
        throw;
    }
    // Only now are the old templates no longer in use.
    myTemplates = std::move(fresh);
}

void NOD_SpareParms::set(ZEL_ParmList &list, const ZEL_Template *templates)
{
    Descriptions descriptions;
    for (const ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        descriptions.push_back(at);
    }
    rebuild(list, descriptions);
}

NOD_SpareParms::Set NOD_SpareParms::getSet() const
{
    const Descriptions descriptions = mySet ? Descriptions() : present();
    if (!descriptions.empty()) {
        auto set = std::make_shared<Described>();
        set->templates.reserve(descriptions.size());
        for (const ZEL_Template *one : descriptions) {
            set->templates.push_back(*one);
        }
        set->owners = myKept;
        for (const auto &[name, made] : myFloats) {
            set->owners.insert(made);
        }
        mySet = std::move(set);
    }
    return mySet;
}

void NOD_SpareParms::setSet(ZEL_ParmList &list, const Set &descriptions)
{
    Descriptions wanted;
    if (descriptions) {
        for (const ZEL_Template &one : descriptions->templates) {
            wanted.push_back(&one);
        }
        for (const std::shared_ptr<const void> &owner : descriptions->owners) {
            keep(owner);
        }
    }
    rebuild(list, wanted);
    mySet = descriptions;
}

ZEL_Parm *NOD_SpareParms::add(ZEL_ParmList &list, const ZEL_Template &description)
{
    myTemplates.push_back(copies({&description}));
    try {
        if (ZEL_Parm *parm = list.addSpareParm(myTemplates.back()[0])) {
            mySet.reset();
            return parm;
        }
    } catch (...) {
        myTemplates.pop_back();
        throw;
    }
    myTemplates.pop_back();
    return nullptr;
}

bool NOD_SpareParms::remove(ZEL_ParmList &list, const KIT_StringRef &token)
{
    Descriptions descriptions = present();
    const auto end =
        std::remove_if(descriptions.begin(), descriptions.end(),
                       [&](const ZEL_Template *one) { return one->getTokenRef() == token; });
    if (end == descriptions.end()) {
        return false;
    }
    descriptions.erase(end, descriptions.end());
    rebuild(list, descriptions);
    return true;
}

void NOD_SpareParms::keep(std::shared_ptr<const void> owner)
{
    if (owner) {
        myKept.insert(std::move(owner));
    }
}

void NOD_SpareParms::copyTo(NOD_SpareParms &other, ZEL_ParmList &list) const
{
    other.myKept = myKept;
    other.myFloats = myFloats;
    other.myRenames = myRenames;
    other.myKnown = myKnown;
    other.myKeepUnknownNames = myKeepUnknownNames;
    const Descriptions descriptions = present();
    if (!descriptions.empty()) {
        other.rebuild(list, descriptions);
        other.mySet = getSet();
    }
}

NOD_SpareParms::Templates NOD_SpareParms::moveTo(ZEL_ParmList &list)
{
    Descriptions descriptions;
    for (const ZEL_Template *one : present()) {
        if (list.getParmIndex(one->getTokenRef()) < 0) {
            descriptions.push_back(one);
        }
    }
    Templates former;
    former.push_back(copies(descriptions));
    mySet.reset();
    former.swap(myTemplates);
    for (ZEL_Template *at = myTemplates.front().get(); !at->isTerminator(); ++at) {
        std::unique_ptr<ZEL_Parm> parm(new ZEL_Parm(at, &list));
        if (parm->getInstance()) {
            parm->setSpareParm(true);
            list.appendParm(parm.release());
        }
    }
    return former;
}

// ---------------------------------------------------------------------- //
// Names that a load doesn't know
// ---------------------------------------------------------------------- //

void NOD_SpareParms::addRename(const std::string &savedName, const std::string &name)
{
    myRenames[savedName] = name;
}

/// By its name, or by the pattern of an item's; "" if it has none.
std::string NOD_SpareParms::renamed(const std::string &name) const
{
    const auto exact = myRenames.find(name);
    if (exact != myRenames.end()) {
        return exact->second;
    }
    for (const auto &[saved, present] : myRenames) {
        std::vector<std::string> numbers;
        if (saved.find('#') != std::string::npos && NODmatchNumbers(name, saved, numbers)) {
            return NODwithNumbers(present, numbers);
        }
    }
    return "";
}

void NOD_SpareParms::addForLoad(const char *name, Descriptions &descriptions)
{
    for (ZEL_Template *known = myKnown; known && !known->isTerminator(); ++known) {
        if (known->getTokenRef() == KIT_StringRef(name)) {
            descriptions.push_back(known);
            return;
        }
    }
    if (myKeepUnknownNames && ZEL_Parm::getMakeSpareParmsForUnknownChannelsFlag() &&
        isValidToken(name)) {
        std::shared_ptr<SpareFloat> &made = myFloats[name];
        if (!made) {
            made = std::make_shared<SpareFloat>(name);
        }
        descriptions.push_back(&made->description);
    }
}

void NOD_SpareParms::createForLoad(ZEL_ParmList &list, const KIT_StringArray &names,
                                   ZEL_ParmNameMap &map)
{
    Descriptions descriptions = present();
    const std::size_t before = descriptions.size();
    for (const KIT_String &name : names) {
        const std::string present = renamed(name.nonNullStr());
        if (!present.empty()) {
            map.addMap(name.nonNullStr(), present.c_str());
        } else if (list.getParmIndex(name.nonNullStr()) < 0) {
            addForLoad(name.nonNullStr(), descriptions);
        }
    }
    if (descriptions.size() != before) {
        rebuild(list, descriptions);
    }
}
