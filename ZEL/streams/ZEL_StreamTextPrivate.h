/// \file ZEL_StreamTextPrivate.h
/// The text of a stream's entry, taken apart. Not installed.
///
/// Vocabulary: *body* = an entry from its first bracket to the last; *spelled* = as it stands in the text.
/// Ownership:  views are into the stream that was read.
#pragma once

#include <ZEL/ZEL_StreamEntry.h>

#include <string>
#include <string_view>
#include <vector>

class KIT_IStream;
class ZEL_Parm;

struct ZEL_StreamText
{
    using Kind = ZEL_StreamEntry::Kind;

    struct Option
    {
        std::string word; ///< before the "="
        std::string text; ///< after it; a label without its quotes
        std::string all;  ///< spelled
    };
    struct Item
    {
        std::string_view all; ///< spelled; of a driven one, its value
        std::string text;     ///< as a load reads it
        std::string channel;
        bool quotedFlag = false;
        bool drivenFlag = false; ///< `[ CHANNEL ]` or `[ CHANNEL VALUE ]`
        bool valueFlag = true;   ///< there is a value: a driven one may have none
        bool clearFlag = true;   ///< a load reads just that
    };

    /// Reads a body, after white space, and stays behind it; false if the stream ends before or a bracket is
    /// missing. A load finds the items' ends by the kind; of WORDS, only the end of the whole is known.
    bool read(KIT_IStream &is, Kind kind);
    /// Makes it the entry's contents, of a kind that isn't PACKETS: of WORDS where packets of the kind wouldn't
    /// load as this text does. `parm` is the parameter, null for none; `tokensFlag` says that an ordinal's texts are
    /// entries of its menu.
    void makeEntry(Kind kind, const ZEL_Parm *parm, ZEL_StreamEntry &entry,
                   bool tokensFlag = false) const;

    std::string_view all; ///< spelled
    bool clearFlag = true;
    bool blockFlag = false; ///< there are brackets for options
    std::vector<Option> options;
    std::vector<Item> items;

private:
    bool readWritten(KIT_IStream &is, Kind kind);
    bool readLoose(KIT_IStream &is, Kind kind);
    bool readOptions(KIT_IStream &is);
    bool takeOptions(ZEL_StreamOptions &to) const;
};
