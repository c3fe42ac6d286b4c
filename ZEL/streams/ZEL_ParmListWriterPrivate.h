/// \file ZEL_ParmListWriterPrivate.h
/// Writes parameters as a stream. Entries are composed in memory and go out in large pieces, so that a
/// target needs neither to seek nor to be quick with small writes. Not installed.
///
/// Ownership:  borrows the target.
/// Threads:    the list's own.
/// Errors:     the target is set to its fail state, and an error reported, when memory was refused.
#pragma once

#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_OByteStream.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

class ZEL_Parm;

class ZEL_ParmListWriter
{
public:
    using Parms = std::vector<const ZEL_Parm *>;

    explicit ZEL_ParmListWriter(std::ostream &target) : myStream(myBytes), myTarget(target) {}
    ZEL_ParmListWriter(const ZEL_ParmListWriter &) = delete;
    ZEL_ParmListWriter &operator=(const ZEL_ParmListWriter &) = delete;

    /// A whole stream; each of the parameters has an instance. `compact` means binary too, and leaves
    /// separators and labels out.
    void write(const Parms &parms, bool binary, bool compact);

private:
    void writeText(const Parms &parms);
    void writeBinary(const Parms &parms, bool compact);
    bool endEntry();
    void flush();

    KIT_ByteBuffer myBytes;
    KIT_OByteStream myStream; // into the bytes
    std::ostream &myTarget;
};
