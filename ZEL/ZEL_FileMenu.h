/// \file ZEL_FileMenu.h
/// A menu whose rows come from data files, so that a site can put its own resolutions, devices and
/// filters into it; docs/menus.md describes how.
///
/// Vocabulary: *data file* = a file of the menu's name in a folder of the search path
///             (KIT_PathSearch). *fields* = the words of a line: token and label, or for pixel formats
///             type, black point, white point (which together are the token) and label.
///             *built-in rows* = what the menu shows when no data file gives a row.
/// Ownership:  owns its rows; they are neither moved nor changed until the menu is destroyed. The
///             menus of get() live until the library is unloaded.
/// Threads:    the interface's thread only; no lock is taken.
/// Errors:     none. A file that can't be read has no rows; a line with the wrong number of fields
///             gives none.
/// Cost:       the files are read once, when the menu is first requested.
#pragma once

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Name.h>

#include <memory>
#include <string>
#include <vector>

class KIT_IStream;

class ZEL_API ZEL_FileMenu
{
public:
    /// Which menu.
    enum Kind
    {
        IMAGE,        ///< names of images, file "FBrender"
        RESOLUTION,   ///< width, height and pixel aspect, file "FBres"
        PIXEL_FORMAT, ///< storage of a component, file "FBpixel", with four fields
        RI_DEVICE,    ///< the renderer's output, file "FBridevice"
        RI_FILTER,    ///< its pixel filter, file "FBrifilter"
        RI_HIDER      ///< its hider, file "FBrihider"
    };
    static constexpr int theKindCount = 6;

    /// What a line of a data file gives.
    struct Line
    {
        int fields = 0; ///< that it has; at most 32 are told from each other
        bool rowFlag = false;
        bool separatorFlag = false;
        std::string token; ///< of a row, as is its label
        std::string label;
    };

    explicit ZEL_FileMenu(Kind kind) : myKind(kind) {}

    /// The menu that all parameters of the process share.
    static ZEL_FileMenu &get(Kind kind);

    /// Reads the rows unless there are some already: those of all data files, in the order of the
    /// search path, or the built-in rows if there are none.
    void fill();
    /// Appends the rows of a data file. A line with one field less than a row gives a separator.
    void readRows(KIT_IStream &is);

    /// The name of its data files.
    static const char *getFileName(Kind kind);
    /// How many fields a line has that gives a row.
    static int getFieldCount(Kind kind);
    /// Takes a line apart, which is no comment. It ends at a byte of zero.
    static Line takeApart(Kind kind, const char *text);

    int getNumRows() const { return static_cast<int>(myRows.size()); }
    /// A row; null when there is none, which includes every index before fill().
    const ZEL_Name *getRow(int index) const;
    /// Fills the menu and copies up to `size` - 1 rows into the array, which has `size` elements,
    /// ending it with a sentinel.
    void copyRows(ZEL_Name *names, int size);

private:
    void addRow(const char *token, const char *label);
    void fillFromFiles();

    Kind myKind;
    std::vector<std::unique_ptr<ZEL_Name>> myRows;
};
