/// \file ZEL_Item.h
/// A menu entry with an icon.
///
/// Vocabulary: *sentinel* = an item whose name has no token; it ends an array of items.
/// Ownership:  token, label and icon are borrowed from the constructor's texts; setIcon() copies.
///             Copies of an item own their icon.
/// Threads:    const calls from any thread; changes by one thread at a time.
#pragma once

#include <KIT/KIT_String.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Name.h>

class ZEL_API ZEL_Item
{
public:
    virtual ~ZEL_Item();

    /// A sentinel.
    ZEL_Item();
    ZEL_Item(const char *token, const char *label, const char *icon);
    ZEL_Item(const ZEL_Item &);
    ZEL_Item &operator=(const ZEL_Item &);

    const ZEL_Name &getName() const { return myName; }
    ZEL_Name &getName() { return myName; }
    const char *getToken() const { return myName.getToken(); }
    /// The label, or the token when there is none.
    const char *getLabel() const { return myName.getLabel(); }
    bool isSentinel() const { return myName.isSentinel(); }

    /// The icon's name; unset when there is none.
    const KIT_String &getIcon() const { return myIcon; }
    /// Takes a copy; null for none.
    void setIcon(const char *icon);

    /// Bytes of counted storage, and the record itself when inclusive.
    int64_t getMemoryUsage(bool inclusive) const;

private:
    ZEL_Name myName;
    KIT_String myIcon;
};
