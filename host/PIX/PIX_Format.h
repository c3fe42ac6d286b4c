/// \file PIX_Format.h
/// The image formats that the application reads and writes.
///
/// Vocabulary: *name* = what parameters and options say; *label* = what people read; *extensions* =
///             the ends of file names, without the dot, the one that is written first.
/// Units:      formats from 0, in the order of menus.
/// Ownership:  constants; nobody deletes a format.
/// Threads:    any.
/// Errors:     null for what isn't there.

#pragma once

#include <BAS/BAS_API.h>

#include <string_view>

class KIT_String;

class KIT_API PIX_Format
{
public:
    /// The words of a format: all without blanks, lists with blanks between the words.
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
    /// By the extension, whatever the case of its letters; null for a name without one.
    static const PIX_Format *findByFilename(const char *fileName);

    const char *getName() const { return myName; }
    const char *getLabel() const { return myLabel; }
    /// The extension that is written.
    std::string_view getExtension() const;
    /// Gives a file name this format's extension and answers whether that changed it. An extension of
    /// another format is replaced; behind any other ("render.$F4") a further one comes. A name without
    /// an extension stays: it is a device's ("ip"), or not finished.
    bool replaceExtension(KIT_String &fileName) const;

    /// Whether a component can be stored so: "int8", "int16", "int32", "float16", "float32".
    bool hasDepth(std::string_view depth) const;
    /// Whether pixels can be packed so: "none", "rle", "lzw", "zip", "piz", "jpeg".
    bool hasCompression(std::string_view compression) const;
    /// Whether writing loses, by a quality from 0 to 100.
    bool hasQuality() const { return myQualityFlag; }

private:
    const char *myName;
    const char *myLabel;
    const char *myExtensions;
    const char *myDepths;
    const char *myCompressions;
    bool myQualityFlag;
};
