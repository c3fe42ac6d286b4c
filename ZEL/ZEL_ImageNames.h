/// \file ZEL_ImageNames.h
/// What keeps an image's file name, its format and its options in step when the user changes one.
///
/// Vocabulary: *format* = the name of a PIX_Format, "" to go by the file name. *options* = how the image
///             is written, as PIX_TileOptions reads and packs them.
/// Threads:    any.
/// Errors:     what tells no format changes nothing.
#pragma once

#include <ZEL/ZEL_API.h>

class KIT_String;

/// The file name was changed: the format becomes the one that the new name tells, and the options what
/// that format can do. False: the name tells no other format, and nothing was changed.
ZEL_API bool ZELchangeImageFilename(const char *oldName, const char *newName, KIT_String &format,
                                    KIT_String &options);

/// The format was changed: the file name gets the new one's extension, and the options become what it
/// can do. False: the name has such an extension, or none at all, and nothing was changed.
ZEL_API bool ZELchangeImageFormat(const char *oldFormat, const char *newFormat,
                                  KIT_String &fileName, KIT_String &options);
