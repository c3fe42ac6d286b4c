#include <NOD/interface/NOD_InterfaceNamesPrivate.h>

#include <ZEL/ZEL_Template.h>

#include <string_view>

namespace
{

/// `a12_#` as `a#_#`: what may name the same parameter looks the same.
std::string shapeOf(std::string_view name)
{
    std::string shape;
    for (const char c : name) {
        const bool numberFlag = c == '#' || (c >= '0' && c <= '9');
        if (!numberFlag) {
            shape += c;
        } else if (shape.empty() || shape.back() != '#') {
            shape += '#';
        }
    }
    return shape;
}

} // namespace

const ZEL_Template *NOD_OwnedNames::add(const std::string &name, const ZEL_Template *owner)
{
    if (const ZEL_Template *const other = find(name)) {
        return other;
    }
    const bool patternFlag = name.find('#') != std::string::npos;
    myOwners.emplace(name, owner);
    (patternFlag ? myPatterns : myPlain)[shapeOf(name)].push_back(name);
    return nullptr;
}

const ZEL_Template *NOD_OwnedNames::find(const std::string &name) const
{
    const auto found = myOwners.find(name);
    if (found != myOwners.end()) {
        return found->second;
    }
    const bool patternFlag = name.find('#') != std::string::npos;
    const auto &others = patternFlag ? myPlain : myPatterns;
    const auto like = others.find(shapeOf(name));
    if (like == others.end()) {
        return nullptr;
    }
    for (const std::string &other : like->second) {
        constexpr int theFirst = 0;
        int item = 0;
        const std::string &pattern = patternFlag ? name : other;
        const std::string &plain = patternFlag ? other : name;
        if (ZEL_Template::matchMultiInstance(plain.c_str(), pattern.c_str(), theFirst, item)) {
            return myOwners.at(other);
        }
    }
    return nullptr;
}

const ZEL_Template *NOD_InterfaceNames::addToken(const std::string &pattern,
                                                 const ZEL_Template *owner)
{
    myAnyNumbers.insert(shapeOf(pattern));
    myAllTokens.push_back(pattern);
    return myTokens.add(pattern, owner);
}

const ZEL_Template *NOD_InterfaceNames::addChannel(const std::string &pattern,
                                                   const ZEL_Template *owner)
{
    myAnyNumbers.insert(shapeOf(pattern));
    return myChannels.add(pattern, owner);
}

const ZEL_Template *NOD_InterfaceNames::find(const std::string &name) const
{
    const ZEL_Template *const token = myTokens.find(name);
    return token ? token : myChannels.find(name);
}

bool NOD_InterfaceNames::isKnown(const std::string &name, int depth) const
{
    return find(name) ||
           (depth > 0 && name.find('#') != std::string::npos && myAnyNumbers.count(shapeOf(name)));
}
