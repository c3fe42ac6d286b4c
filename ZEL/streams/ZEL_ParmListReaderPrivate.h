/// \file ZEL_ParmListReaderPrivate.h
/// Reads the parameter stream into a list, and finds the parameter of each entry. Not installed.
///
/// Ownership:  borrows the lists and the stream's name, which must outlive it.
/// Threads:    the list's own.
/// Errors:     errors in the stream are reported to the error manager, with the stream's name if it
///             has one.
#pragma once

#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmNameMap.h>
#include <ZEL/list/ZEL_BlockNamesPrivate.h>

class KIT_MessageSource;
class KIT_Packet;
struct KIT_MessageDetail;

class ZEL_ParmListReader
{
public:
    enum class Result
    {
        LOADED,
        FAILED,
        ABANDONED ///< the stream's syntax is broken
    };

    /// `name` and `fallbackList` may be null.
    ZEL_ParmListReader(ZEL_ParmList &list, const char *name, ZEL_ParmList *fallbackList)
        : myList(list), myName(name), myFallbackList(fallbackList), myBlocks(list)
    {}

    /// Reports unknown names to the owner first, then reads all entries.
    Result read(KIT_IStream &is);
    /// The parameter of that name, here or in the fallback list; a multi-parameter that claims the
    /// name grows. With `useMap`, names that the owner replaced are followed too.
    ZEL_Parm *findParm(const KIT_StringRef &name, bool useMap);
    /// Lets the owner, which must exist, create parameters for the names or replace the names.
    void offerUnknownNames(KIT_StringArray &names);

private:
    ZEL_Parm *findListed(std::string_view name);
    bool isInList(std::string_view name, int &next) const;
    bool growFor(const KIT_StringRef &name);
    /// The names of a stream that are unknown here, in stream order; restores the stream's
    /// position. A multi-parameter that claims a name grows.
    void readUnknownNames(KIT_IStream &is, KIT_StringArray &names);
    void readUnknownText(KIT_IStream &is, KIT_StringArray &names);
    void skipUsual(KIT_IStream &is, KIT_WorkBuffer &name, int &next) const;
    /// `name` is that of the last packet with packets.
    bool skipListed(KIT_IStream &is, KIT_Packet &packet, KIT_WorkBuffer &name, int &next,
                    std::string_view &unknown);
    /// Of one that isn't in the list.
    void testName(std::string_view name, KIT_StringArray &names);
    Result readText(KIT_IStream &is);
    Result readBinary(KIT_IStream &is);
    bool readPacket(KIT_IStream &is, int packetId);
    bool readTextParm(KIT_IStream &is);
    /// `astray` is after a body whose end wasn't found: the token may be no name.
    void unknownParm(const KIT_WorkBuffer &token, const std::string &text, bool astray = false);
    void addNearest(std::string_view name, KIT_MessageDetail &detail);

    ZEL_ParmList &myList;
    const char *myName;
    ZEL_ParmList *myFallbackList;
    ZEL_ParmNameMap myMap;
    ZEL_ParmList::BlockNames myBlocks;
    KIT_MessageSource *mySource = nullptr; // while a stream is read
    int myNext = 0;                        // index after that of the last entry's parameter
    std::size_t myCompared = 0;            // names, with those that the list lacks
    KIT_WorkBuffer myToken;                // of the entry, until the next one in a binary stream
};
