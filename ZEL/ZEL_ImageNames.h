/// \file ZEL_ImageNames.h
/// Keeps an image's file name, its format and its options consistent when the user changes one.
///
/// Vocabulary: *format* = the name of a PIX_Format, "" to infer it from the file name. *options* =
///             how the image is written, as PIX_TileOptions reads and packs them.
/// Threads:    any.
/// Errors:     a name from which no format can be inferred changes nothing.
#pragma once

#include <ZEL/ZEL_API.h>

class KIT_String;

/// Call after the file name changed: infers the format from the new name and reduces the options to
/// those it supports. False, and nothing changed, if the new name implies no other format.
ZEL_API bool ZELchangeImageFilename(const char *oldName, const char *newName, KIT_String &format,
                                    KIT_String &options);

/// Call after the format changed: gives the file name the new format's extension and reduces the
/// options to those it supports. False, and nothing changed, if the name has an extension of that
/// format already, or none.
ZEL_API bool ZELchangeImageFormat(const char *oldFormat, const char *newFormat,
                                  KIT_String &fileName, KIT_String &options);
