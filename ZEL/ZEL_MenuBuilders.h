/// \file ZEL_MenuBuilders.h
/// Menus whose rows are known only at run time, as generators of a ZEL_ChoiceList:
/// `ZEL_ChoiceList images(ZEL_CHOICELIST_REPLACE, ZELbuildImageMenu);`
///
/// Vocabulary: *row* = a name with token and label; *separator* = a row "_separator_".
/// Units:      `size` = the names in the caller's array. At most size - 1 rows are filled in,
///             followed by a sentinel; a size below 1 does nothing. Row indices are 0-based.
/// Ownership:  rows are copied with counted texts. The getters' results last for the process.
/// Threads:    the interface's thread only; no lock is taken.
/// Errors:     null for a row that isn't there.
/// Cost:       data files are read once for the process, at the first call of their builder; later
///             changes to them have no effect.
#pragma once

#include <ZEL/ZEL_API.h>

class ZEL_Name;
class ZEL_Parm;
class ZEL_SpareData;

// ---------------------------------------------------------------- //
/// \name Menus with data files   (see ZEL_FileMenu.h)
// ---------------------------------------------------------------- //
/// Names of images to render to.
ZEL_API void ZELbuildImageMenu(void *data, ZEL_Name *names, int size, const ZEL_SpareData *spare,
                               const ZEL_Parm *parm);
/// Width, height and pixel aspect of images, as "640 486 1.0".
ZEL_API void ZELbuildResolutionMenu(void *data, ZEL_Name *names, int size,
                                    const ZEL_SpareData *spare, const ZEL_Parm *parm);
/// How components are stored, and which values are black and white, as "int8 0 255".
ZEL_API void ZELbuildPixelFormatMenu(void *data, ZEL_Name *names, int size,
                                     const ZEL_SpareData *spare, const ZEL_Parm *parm);
/// Where the renderer sends its image.
ZEL_API void ZELbuildRiDeviceMenu(void *data, ZEL_Name *names, int size, const ZEL_SpareData *spare,
                                  const ZEL_Parm *parm);
/// The renderer's pixel filter with its size, as "\"box\" 1 1".
ZEL_API void ZELbuildRiFilterMenu(void *data, ZEL_Name *names, int size, const ZEL_SpareData *spare,
                                  const ZEL_Parm *parm);
/// The renderer's hider.
ZEL_API void ZELbuildRiHiderMenu(void *data, ZEL_Name *names, int size, const ZEL_SpareData *spare,
                                 const ZEL_Parm *parm);

// ---------------------------------------------------------------- //
/// \name Menus of the host
// ---------------------------------------------------------------- //
/// The filters that images are resampled with (KIT_Filter).
ZEL_API void ZELbuildFilterMenu(void *data, ZEL_Name *names, int size, const ZEL_SpareData *spare,
                                const ZEL_Parm *parm);
/// "Infer from file name" with an empty token, a separator, and the image formats (PIX_Format).
ZEL_API void ZELbuildImageDeviceMenu(void *data, ZEL_Name *names, int size,
                                     const ZEL_SpareData *spare, const ZEL_Parm *parm);
/// "_current_" for the current take, then all takes (LYR_Manager) from the master take down, depth
/// first. A label begins with two spaces for each level below the master take.
ZEL_API void ZELbuildTakeMenu(void *data, ZEL_Name *names, int size, const ZEL_SpareData *spare,
                              const ZEL_Parm *parm);

// ---------------------------------------------------------------- //
/// \name Rows of a menu; null before its builder ran, and for an invalid index
// ---------------------------------------------------------------- //
ZEL_API const ZEL_Name *ZELgetImageName(int index);
ZEL_API const ZEL_Name *ZELgetResolutionName(int index);
ZEL_API const ZEL_Name *ZELgetPixelFormatName(int index);
ZEL_API const ZEL_Name *ZELgetFilterName(int index);

/// Sorts `count` names in place by label, or by token without one; digits compare by their numeric
/// value. Not stable.
ZEL_API void ZELsortMenu(ZEL_Name *names, int count);
