/// \file PIX_TileOptions.h
/// How an image's planes are written to a file of one format.
///
/// Vocabulary: *options string* = pairs of a key and a value separated by blanks, such as
///             "depth int16 compression zip quality 90". *plane options* = those three keys; the
///             format defines their values. Other keys mean something to their author only.
/// Units:      quality from 0 to 100.
/// Ownership:  owns its texts.
/// Threads:    one thread at a time.
/// Errors:     options that the format doesn't support are not packed; the format then uses its
///             defaults.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>

class PIX_Format;

class KIT_API PIX_TileOptions
{
public:
    /// For the format of a file name.
    explicit PIX_TileOptions(const char *fileName);
    /// For a format; null means none.
    explicit PIX_TileOptions(const PIX_Format *format) : myFormat(format) {}

    /// Null when the file name has no known extension.
    const PIX_Format *getFormat() const { return myFormat; }

    /// Takes over an options string: the plane options that the format supports, and all other
    /// pairs unchanged.
    void setPlaneInfo(const char *options);
    /// The options as a string.
    void packOptionsString(KIT_String &options) const { options = myOptions; }

private:
    const PIX_Format *myFormat;
    KIT_String myOptions;
};
