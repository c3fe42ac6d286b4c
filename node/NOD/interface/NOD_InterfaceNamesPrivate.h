/// \file NOD_InterfaceNamesPrivate.h
/// The names of an interface's parameters and components, items of blocks included.
///
/// Vocabulary: *pattern* = a name with a `#` for each block around it; *shape* = a name whose numbers
///             are `#` too, so that what may be the same parameter looks the same.
/// Ownership:  borrows the templates.
#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class ZEL_Template;

/// Names with an owner each, found by themselves or, if they are of items, with numbers in them.
class NOD_OwnedNames
{
public:
    /// The first owner of a name that can be the same; null without one. Adds the name then.
    const ZEL_Template *add(const std::string &name, const ZEL_Template *owner);
    /// The owner of that name; of a pattern, also of a name that an item of it would have.
    const ZEL_Template *find(const std::string &name) const;

private:
    std::unordered_map<std::string, const ZEL_Template *> myOwners;
    std::unordered_map<std::string, std::vector<std::string>> myPatterns; // by shape
    std::unordered_map<std::string, std::vector<std::string>> myPlain;
};

class NOD_InterfaceNames
{
public:
    /// Null, or the parameter that has the name already.
    const ZEL_Template *addToken(const std::string &pattern, const ZEL_Template *owner);
    const ZEL_Template *addChannel(const std::string &pattern, const ZEL_Template *owner);

    /// The parameter of a token or a component's name; null without one.
    const ZEL_Template *find(const std::string &name) const;
    /// Whether a condition of a parameter with that many blocks around it may name it: in a block each
    /// `#` becomes a number, which may be that of an item anywhere.
    bool isKnown(const std::string &name, int depth) const;
    /// Every token, in the order in which they were added.
    const std::vector<std::string> &getTokens() const { return myAllTokens; }

private:
    NOD_OwnedNames myTokens;
    NOD_OwnedNames myChannels;
    std::vector<std::string> myAllTokens;
    std::unordered_set<std::string> myAnyNumbers; ///< the shapes of all names
};
