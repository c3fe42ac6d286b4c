#include <ZEL/ZEL_FileMenu.h>

#include <BAS/BAS_LostText.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_PathSearch.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>

#include <iterator>

// -------------------------------------------------------------------- //
// The six menus
// -------------------------------------------------------------------- //

namespace
{

struct Row
{
    const char *token;
    const char *label;
};

constexpr Row theImages[] = {
    {"ip", "fbview window"},
    {"$SCN/$F.pic", "sequence of images"},
    {"$SCN/$F4.pic", "padded file names"},
};

constexpr Row theResolutions[] = {
    {"640 486 1.0", "NTSC Full"},    {"320 243 1.0", "NTSC 50%"},
    {"160 122 1.0", "NTSC 25%"},     {"720 486 0.9", "NTSC D1 Full"},
    {"360 243 0.9", "NTSC D1 50%"},  {"180 122 0.9", "NTSC D1 25%"},
    {"768 576 1.0", "PAL Full"},     {"384 288 1.0", "PAL 50%"},
    {"192 144 1.0", "PAL 25%"},      {"720 576 1.067", "PAL D1 Full"},
    {"360 288 1.067", "PAL D1 50%"}, {"180 144 1.067", "PAL D1 25%"},
    {"1280 720 1.0", "HDTV 720"},    {"1920 1080 1.0", "HDTV 1080"},
};

// An extended format centers the smaller format in the larger one: equal headroom below black and
// above white.
constexpr Row thePixelFormats[] = {
    {"int8 0 255", "8 Bit Unsigned"},
    {"int8 16 235", "8 Bit Video"},
    {"int16 0 1023", "10 Bit Unsigned"},
    {"int16 64 940", "10 Bit Video"},
    {"int16 95 685", "10 Bit Film"},
    {"int16 0 4095", "12 Bit Unsigned"},
    {"int16 0 65535", "16 Bit Unsigned"},
    {"int32 0 4294967295", "32 Bit Unsigned"},
    {"float16 0 1", "16 Bit Floating Point"},
    {"float32 0 1", "32 Bit Floating Point"},
    {"int16 32640 32895", "8 Bit Extended"},
    {"int16 30720 34815", "12 Bit Extended"},
    {"int32 2147450880 2147516415", "16 Bit Extended"},
};

constexpr Row theRiDevices[] = {
    {"framebuffer", "Frame Buffer"},
    {"it", "Image Tool"},
    {"it_merge", "Image Tool, Merge with Image"},
    {"it_replace", "Image Tool, Replace Image"},
    {"tiff", "TIFF File"},
    {"zfile", "Depth File"},
    {"shadow", "Shadow Map"},
    {"targa", "Targa File"},
    {"sgi", "SGI File"},
    {"velmora", "Velmora Driver"},
};

constexpr Row theRiFilters[] = {
    {"\"box\" 1 1", "Box Filter 1x1"},           {"\"triangle\" 2 2", "Triangle Filter 2x2"},
    {"\"gaussian\" 2 2", "Gaussian Filter 2x2"}, {"\"catmull-rom\" 2 2", "Catmull-Rom Filter 2x2"},
    {"\"b-spline\" 2 2", "B-Spline Filter 2x2"}, {"\"sinc\" 2 2", "Sinc Filter 2x2"},
};

constexpr Row theRiHiders[] = {
    {"\"hidden\"", "Hidden Surface"},
    {"\"hidden\" \"samplepattern\" \"poissondisc\"", "Hidden Surface, Poisson Disc"},
    {"\"hidden\" \"depthfilter\" \"min\"", "Hidden Surface, Minimum Depth"},
    {"\"hidden\" \"depthfilter\" \"max\"", "Hidden Surface, Maximum Depth"},
    {"\"hidden\" \"depthfilter\" \"average\"", "Hidden Surface, Average Depth"},
    {"\"hidden\" \"depthfilter\" \"midpoint\"", "Hidden Surface, Midpoint Depth"},
    {"\"zbuffer\"", "Depth Buffer"},
    {"\"paint\"", "Painter's Algorithm"},
    {"\"null\"", "No Image"},
    {"\"photon\"", "Photon Map"},
};

struct Menu
{
    template <size_t Count>
    constexpr Menu(const char *menuFile, int menuFields, const Row (&menuRows)[Count])
        : file(menuFile), fields(menuFields), rows(menuRows), count(Count)
    {}

    const char *file;
    int fields;
    const Row *rows;
    size_t count;
};

// In the order of ZEL_FileMenu::Kind.
constexpr Menu theMenus[] = {
    {"FBrender", 2, theImages},      {"FBres", 2, theResolutions},
    {"FBpixel", 4, thePixelFormats}, {"FBridevice", 2, theRiDevices},
    {"FBrifilter", 2, theRiFilters}, {"FBrihider", 2, theRiHiders},
};
static_assert(std::size(theMenus) == ZEL_FileMenu::theKindCount, "a menu was added or lost");

} // namespace

// -------------------------------------------------------------------- //
// Reading
// -------------------------------------------------------------------- //

ZEL_FileMenu &ZEL_FileMenu::get(Kind kind)
{
    static ZEL_FileMenu theProcessMenus[theKindCount] = {
        ZEL_FileMenu(IMAGE),     ZEL_FileMenu(RESOLUTION), ZEL_FileMenu(PIXEL_FORMAT),
        ZEL_FileMenu(RI_DEVICE), ZEL_FileMenu(RI_FILTER),  ZEL_FileMenu(RI_HIDER),
    };
    return theProcessMenus[kind];
}

const char *ZEL_FileMenu::getFileName(Kind kind)
{
    return theMenus[kind].file;
}

int ZEL_FileMenu::getFieldCount(Kind kind)
{
    return theMenus[kind].fields;
}

void ZEL_FileMenu::addRow(const char *token, const char *label)
{
    myRows.push_back(std::make_unique<ZEL_Name>(token, label));
    myRows.back()->harden();
}

ZEL_FileMenu::Line ZEL_FileMenu::takeApart(Kind kind, const char *text)
{
    constexpr int theMostFields = 32;
    const int fields = theMenus[kind].fields;
    char *words[theMostFields];
    KIT_String parsed(text);
    Line line;
    line.fields = parsed.parseInPlace(words, theMostFields, "\"'");
    line.rowFlag = line.fields == fields;
    line.separatorFlag = line.fields == fields - 1;
    if (line.rowFlag) {
        line.token = words[0];
        for (int i = 1; i < fields - 1; ++i) {
            line.token += ' ';
            line.token += words[i];
        }
        line.label = words[fields - 1];
    }
    return line;
}

void ZEL_FileMenu::readRows(KIT_IStream &is)
{
    KIT_WorkBuffer text;
    while (is.getNonCommentLine(text, '#')) {
        const Line line = takeApart(myKind, text.buffer());
        if (line.separatorFlag) {
            myRows.push_back(std::make_unique<ZEL_Name>());
            myRows.back()->setAsSeparator();
        } else if (line.rowFlag) {
            addRow(line.token.c_str(), line.label.c_str());
        }
    }
}

void ZEL_FileMenu::fill()
{
    if (!myRows.empty()) {
        return;
    }
    const BAS_LostText lost;
    try {
        fillFromFiles();
        // The process keeps these rows.
        lost.check();
    } catch (...) {
        myRows.clear();
        throw;
    }
}

void ZEL_FileMenu::fillFromFiles()
{
    const Menu &menu = theMenus[myKind];
    KIT_StringArray files;
    KIT_PathSearch::getInstance(0).findAllFiles(menu.file, files);
    for (const KIT_String &file : files) {
        KIT_IFStream is(file.c_str());
        is.skipByteOrderMark();
        readRows(is);
    }
    if (myRows.empty()) {
        for (size_t i = 0; i < menu.count; ++i) {
            addRow(menu.rows[i].token, menu.rows[i].label);
        }
    }
}

// -------------------------------------------------------------------- //
// Rows
// -------------------------------------------------------------------- //

const ZEL_Name *ZEL_FileMenu::getRow(int index) const
{
    return index >= 0 && index < getNumRows() ? myRows[static_cast<size_t>(index)].get() : nullptr;
}

void ZEL_FileMenu::copyRows(ZEL_Name *names, int size)
{
    fill();
    if (size < 1) {
        return;
    }
    const int count = getNumRows() < size ? getNumRows() : size - 1;
    for (int i = 0; i < count; ++i) {
        names[i] = *getRow(i);
    }
    names[count].setAsSentinel();
}
