/// \file ZEL_DataItem.h
/// What a component of a data parameter holds: a shared, immutable object of some kind.
///
/// Vocabulary: *kind* = what the object is, named by its *token* in files; *payload* = the item's
///             own data as its kind saves it.
/// Ownership:  held by `std::shared_ptr<const ZEL_DataItem>`; the last holder frees it.
/// Threads:    immutable once it is shared. Its operations are called from any thread.
/// Errors:     saving returns false when the payload is incomplete.
///
/// An application that adds a kind provides a factory for it: ZEL_DataFactory.h.

#pragma once

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Type.h>

#include <cstdint>
#include <iosfwd>

class KIT_JSONValueMap;

class ZEL_API ZEL_DataItem
{
public:
    ZEL_DataItem() = default;
    virtual ~ZEL_DataItem();

    /// The bit of the kind in the type's data word.
    virtual ZEL_Type::ZEL_DataType getDataType() const = 0;
    /// Must not contain a ":", which ends it in text.
    virtual const char *getDataTypeToken() const = 0;
    /// Writes the payload as text, without NUL.
    virtual bool saveAscii(std::ostream &os) const = 0;
    virtual bool saveBinary(std::ostream &os) const = 0;
    /// The item's size in memory reports, in bytes.
    virtual std::int64_t getMemoryUsage() const = 0;
    /// The dictionary, for a kind that is one. It is shared: read it only. Base: null.
    virtual KIT_JSONValueMap *getKeyValueDict() const;

protected:
    ZEL_DataItem(const ZEL_DataItem &) = default;
    ZEL_DataItem &operator=(const ZEL_DataItem &) = delete;
};
