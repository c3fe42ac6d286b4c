/// \file PIX_TileOptions.h
/// How an image's planes are written to a file of one format.
///
/// Vocabulary: *options string* = pairs of a key and a value with blanks between them, such as
///             "depth int16 compression zip quality 90". *plane options* = those three keys; what
///             their values may be is the format's. Other keys mean something to whoever wrote them.
/// Units:      quality from 0 to 100.
/// Ownership:  owns its texts.
/// Threads:    one thread at a time.
/// Errors:     what a format can't do is left out of what is packed; the format then writes as it does
///             by itself.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>

class PIX_Format;

class KIT_API PIX_TileOptions
{
public:
    /// For the format that a file's name tells.
    explicit PIX_TileOptions(const char *fileName);
    /// For a format; null for none.
    explicit PIX_TileOptions(const PIX_Format *format) : myFormat(format) {}

    /// Null when the name tells none.
    const PIX_Format *getFormat() const { return myFormat; }

    /// Takes over an options string: of the plane options what the format can do, and all other
    /// pairs as they are written.
    void setPlaneInfo(const char *options);
    /// The options as a string.
    void packOptionsString(KIT_String &options) const { options = myOptions; }

private:
    const PIX_Format *myFormat;
    KIT_String myOptions;
};
