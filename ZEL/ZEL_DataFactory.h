/// \file ZEL_DataFactory.h
/// Creates the data items of one kind from their saved form; holds the table of all kinds by token.
///
/// Vocabulary: *typed text* = an item in text: the kind's token, ":" and the payload, as in
///             `key_value_dict:{"a":1}`.
/// Ownership:  the table borrows the factories, which must outlive its use.
/// Threads:    the table has no lock: kinds are installed while libraries load, before the first
///             stream is read. A factory's own operations come from any thread.
/// Errors:     an unknown token, or a text without ":", gives an empty pointer and no message.
/// Cost:       one look-up in a hash table.

#pragma once

#include <ZEL/ZEL_API.h>

#include <iosfwd>
#include <memory>
#include <string_view>

class KIT_IStream;
class ZEL_DataItem;

class ZEL_API ZEL_DataFactory
{
public:
    virtual ~ZEL_DataFactory();

    /// An empty item, for applications; the library doesn't call this.
    virtual std::shared_ptr<const ZEL_DataItem> createItem() = 0;
    /// The payload extends to the limit of the stream.
    virtual std::shared_ptr<const ZEL_DataItem> parseBinary(KIT_IStream &stream) = 0;
    virtual std::shared_ptr<const ZEL_DataItem> parseAscii(KIT_IStream &stream) = 0;

    /// Registers a kind; replaces one with the same token.
    static void install(const char *type, ZEL_DataFactory *factory);
    static std::shared_ptr<const ZEL_DataItem> parseAscii(const char *type, KIT_IStream &stream);
    static std::shared_ptr<const ZEL_DataItem> parseBinary(const char *type, KIT_IStream &stream);

    /// Reads one text from the stream as typed text.
    static std::shared_ptr<const ZEL_DataItem> loadTypedAscii(KIT_IStream &stream);
    /// Writes nothing for an empty pointer. False when the item couldn't be saved.
    static bool saveTypedAscii(const std::shared_ptr<const ZEL_DataItem> &item, std::ostream &os);
    /// Reads a typed text. False, leaving `item` alone, for a text without ":".
    static bool parseTyped(std::string_view text, std::shared_ptr<const ZEL_DataItem> &item);
};
