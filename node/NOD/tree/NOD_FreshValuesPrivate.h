/// \file NOD_FreshValuesPrivate.h
/// The entries that a new node of an interface would save: what a save of the differences compares with.
/// Not installed.
///
/// Ownership:  keeps the interfaces alive.
/// Threads:    one thread at a time.
/// Cost:       a node of each interface is made once.
#pragma once

#include <NOD/NOD_API.h>

#include <map>
#include <memory>
#include <string>
#include <unordered_map>

class NOD_Interface;
class ZEL_Parm;

class NOD_API NOD_FreshValues
{
public:
    /// Whether a new node has the same value of that name, with the same options.
    bool has(const std::shared_ptr<const NOD_Interface> &description, ZEL_Parm &parm);

private:
    using Entries = std::unordered_map<std::string, std::string>;

    const Entries &entriesOf(const std::shared_ptr<const NOD_Interface> &description);

    std::map<std::shared_ptr<const NOD_Interface>, Entries> myEntries;
};
