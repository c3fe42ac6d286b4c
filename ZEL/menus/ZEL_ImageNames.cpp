#include <ZEL/ZEL_ImageNames.h>

#include <KIT/KIT_String.h>
#include <PIX/PIX_Format.h>
#include <PIX/PIX_TileOptions.h>

static void rewriteOptions(PIX_TileOptions &planes, KIT_String &options)
{
    planes.setPlaneInfo(options.c_str());
    planes.packOptionsString(options);
}

bool ZELchangeImageFilename(const char *, const char *newName, KIT_String &format,
                            KIT_String &options)
{
    PIX_TileOptions planes(newName);
    if (!planes.getFormat() || format.equal(planes.getFormat()->getName())) {
        return false;
    }
    format = planes.getFormat()->getName();
    rewriteOptions(planes, options);
    return true;
}

bool ZELchangeImageFormat(const char *, const char *newFormat, KIT_String &fileName,
                          KIT_String &options)
{
    PIX_TileOptions planes(PIX_Format::findByName(newFormat));
    if (!planes.getFormat() || !planes.getFormat()->replaceExtension(fileName)) {
        return false;
    }
    rewriteOptions(planes, options);
    return true;
}
