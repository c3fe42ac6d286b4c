/// \file ZEL_MenuBuilders.h
/// Menus of what the application finds out as it runs, as generators of a ZEL_ChoiceList:
/// `ZEL_ChoiceList images(ZEL_CHOICELIST_REPLACE, ZELbuildImageMenu);`
///
/// Vocabulary: *row* = a name with token and label; *separator* = a row "_separator_".
/// Units:      `size` = the names in the caller's array. At most size - 1 rows are filled in, and a
///             sentinel behind them; a size below 1 does nothing. Row indices from 0.
/// Ownership:  rows are copied with counted texts. What the getters answer stays for the process.
/// Threads:    the interface's thread only; no lock is taken.
/// Errors:     null for a row that isn't there.
/// Cost:       data files are read once for the process, at the first call of their builder; what
///             changes in them later isn't seen.
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
/// \name Menus of the host's
// ---------------------------------------------------------------- //
/// The filters that images are resampled with (KIT_Filter).
ZEL_API void ZELbuildFilterMenu(void *data, ZEL_Name *names, int size, const ZEL_SpareData *spare,
                                const ZEL_Parm *parm);
/// "Infer from file name" with an empty token, a separator, and the image formats (PIX_Format).
ZEL_API void ZELbuildImageDeviceMenu(void *data, ZEL_Name *names, int size,
                                     const ZEL_SpareData *spare, const ZEL_Parm *parm);
/// "_current_" for the current take, and all takes (LYR_Manager) from the master take down, each with
/// those below it behind it. A label has two spaces in front for each level below the master take.
ZEL_API void ZELbuildTakeMenu(void *data, ZEL_Name *names, int size, const ZEL_SpareData *spare,
                              const ZEL_Parm *parm);

// ---------------------------------------------------------------- //
/// \name Rows of a menu; null before its builder ran, and outside
// ---------------------------------------------------------------- //
ZEL_API const ZEL_Name *ZELgetImageName(int index);
ZEL_API const ZEL_Name *ZELgetResolutionName(int index);
ZEL_API const ZEL_Name *ZELgetPixelFormatName(int index);
ZEL_API const ZEL_Name *ZELgetFilterName(int index);

/// Sorts `count` names in place by label, or by token where there is none. Numbers in them count by
/// their value. Rows that compare equal come in any order.
ZEL_API void ZELsortMenu(ZEL_Name *names, int count);
