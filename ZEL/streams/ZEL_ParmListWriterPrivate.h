/// \file ZEL_ParmListWriterPrivate.h
/// Writes parameters as a stream. Entries are composed in memory and written in large pieces, so
/// the target needn't seek, nor be fast with small writes. Not installed.
///
/// Ownership:  borrows the target.
/// Threads:    the list's own.
/// Errors:     when memory is refused, the target is set to its fail state and an error is
///             reported.
#pragma once

#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_OByteStream.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

class ZEL_Parm;

/// Of those that have no value to keep.
bool ZELisLeftOutOfCompact(const ZEL_Parm &parm);

class ZEL_ParmListWriter
{
public:
    using Parms = std::vector<const ZEL_Parm *>;

    explicit ZEL_ParmListWriter(std::ostream &target) : myStream(myBytes), myTarget(target) {}
    ZEL_ParmListWriter(const ZEL_ParmListWriter &) = delete;
    ZEL_ParmListWriter &operator=(const ZEL_ParmListWriter &) = delete;

    /// Writes a whole stream; each of the parameters must have an instance. `compact` implies
    /// binary, and omits separators and labels.
    void write(const Parms &parms, bool binary, bool compact);

private:
    void writeText(const Parms &parms);
    void writeBinary(const Parms &parms, bool compact);
    bool endEntry();
    void flush();

    KIT_ByteBuffer myBytes;
    KIT_OByteStream myStream; // into the bytes
    std::vector<std::string> myLostNames;
    std::ostream &myTarget;
};
