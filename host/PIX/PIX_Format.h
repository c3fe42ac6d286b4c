/// \file PIX_Format.h
/// The image formats that the application reads and writes.
///
/// Vocabulary: *name* = as parameters and options store it; *label* = as people read it;
///             *extensions* = the ends of file names, without the dot; the first one is used for
///             writing.
/// Units:      formats from 0, in the order of menus.
/// Ownership:  constants; formats are never deleted.
/// Threads:    any.
/// Errors:     null for a format that doesn't exist.

#pragma once

#include <BAS/BAS_API.h>

#include <string_view>

class KIT_String;

class KIT_API PIX_Format
{
public:
    /// Names, depths and so on contain no blanks; lists separate them by blanks.
    constexpr PIX_Format(const char *name, const char *label, const char *extensions,
                         const char *depths, const char *compressions, bool qualityFlag) noexcept
        : myName(name), myLabel(label), myExtensions(extensions), myDepths(depths),
          myCompressions(compressions), myQualityFlag(qualityFlag)
    {}
    PIX_Format(const PIX_Format &) = delete;
    PIX_Format &operator=(const PIX_Format &) = delete;

    static int getNFormats();
    static const PIX_Format *getFormat(int index);
    static const PIX_Format *findByName(const char *name);
    /// By the extension, ignoring case; null for a name without one.
    static const PIX_Format *findByFilename(const char *fileName);

    const char *getName() const { return myName; }
    const char *getLabel() const { return myLabel; }
    /// The extension used for writing.
    std::string_view getExtension() const;
    /// Gives a file name this format's extension and returns whether that changed it. An extension
    /// of another format is replaced; any other ("render.$F4") is kept and this one appended. A
    /// name without an extension stays: it is a device's ("ip"), or incomplete.
    bool replaceExtension(KIT_String &fileName) const;

    /// Whether components can be stored as "int8", "int16", "int32", "float16" or "float32".
    bool hasDepth(std::string_view depth) const;
    /// Whether pixels can be compressed by "none", "rle", "lzw", "zip", "piz" or "jpeg".
    bool hasCompression(std::string_view compression) const;
    /// Whether writing is lossy, controlled by a quality from 0 to 100.
    bool hasQuality() const { return myQualityFlag; }

private:
    const char *myName;
    const char *myLabel;
    const char *myExtensions;
    const char *myDepths;
    const char *myCompressions;
    bool myQualityFlag;
};
