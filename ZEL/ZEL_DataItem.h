/// \file ZEL_DataItem.h
/// What a component of a data parameter holds: an object of some kind that is shared and never
/// changed.
///
/// Vocabulary: *kind* = what the object is, named by its *token* in files; *payload* = what the kind
///             writes of itself.
/// Ownership:  held by `std::shared_ptr<const ZEL_DataItem>`; the last holder frees it.
/// Threads:    immutable once it is shared. Its operations are called from any thread.
/// Errors:     saving answers false when the payload isn't whole.
///
/// A kind of an application's own comes with a factory: ZEL_DataFactory.h.

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

    /// The bit of the type word that stands for the kind.
    virtual ZEL_Type::ZEL_DataType getDataType() const = 0;
    /// Must not hold a ":", which ends it in text.
    virtual const char *getDataTypeToken() const = 0;
    /// Writes the payload as text, without NUL.
    virtual bool saveAscii(std::ostream &os) const = 0;
    virtual bool saveBinary(std::ostream &os) const = 0;
    /// Bytes that the item counts for in reports.
    virtual std::int64_t getMemoryUsage() const = 0;
    /// The dictionary, for a kind that is one. It is shared: read it only. Base: null.
    virtual KIT_JSONValueMap *getKeyValueDict() const;

protected:
    ZEL_DataItem(const ZEL_DataItem &) = default;
    ZEL_DataItem &operator=(const ZEL_DataItem &) = delete;
};
