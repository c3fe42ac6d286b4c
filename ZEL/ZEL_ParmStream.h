/// \file ZEL_ParmStream.h
/// A parameter stream as its entries, without a list to load it into: for what has to keep all of it, as a
/// conversion to the other form does.
///
/// Vocabulary: *entry* = as in ZEL_StreamEntry.h.
/// Ownership:  owns the entries; borrows streams and lists during a call.
/// Threads:    one thread at a time; a list that is passed, on its own.
/// Errors:     to the error manager: what ZEL_ParmList::load reports of a stream's frame, and for each entry
///             that a form can't hold "ZEL" 29. Nothing about values.
///
/// Both forms hold the same entries. Read and written once more, also by way of the other form, a stream that
/// this library wrote has the same bytes; a text that a person wrote has the same words, but comments and the
/// blanks between its words are the library's. A text doesn't tell the kinds of its entries, so packets come
/// back from it by a list that has the parameters, or by comments that name the kinds (Form::MARKED_TEXT).
#pragma once

#include <ZEL/ZEL_StreamEntry.h>

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

class KIT_ByteBuffer;
class KIT_IStream;
class ZEL_ParmList;

/// Two streams' entries of one token, as texts in one line; nothing where a stream has none.
struct ZEL_StreamDifference
{
    std::string token;
    std::optional<std::string> left;
    std::optional<std::string> right;
};

class ZEL_API ZEL_ParmStream
{
public:
    enum class Form
    {
        TEXT,
        BINARY,
        MARKED_TEXT ///< a text with a comment `#kind KIND TOKEN...` for the entries that no list knew
    };
    using Entries = std::vector<ZEL_StreamEntry>;
    static constexpr float theVersion = 0.8f; ///< of what this library writes

    ZEL_ParmStream() = default;
    /// One of entries that came from another.
    explicit ZEL_ParmStream(Entries entries, float version = theVersion);

    // ------------------------------------------------------------------ //
    /// \name In
    // ------------------------------------------------------------------ //
    ///@{
    /// Reads one stream in the form that `is` has, and stays behind its end. The kinds of a text's entries are
    /// those of the list's parameters, where there is one, else what its comments say; blocks that claim the name
    /// of an entry grow. False
    /// if the stream can't be taken apart. `name` is for messages, and may be null.
    bool read(KIT_IStream &is, const char *name, ZEL_ParmList *list = nullptr);
    const Entries &getEntries() const { return myEntries; }
    float getVersion() const { return myVersion; }
    /// Whether there were comments other than of kinds; they aren't kept.
    bool hasComments() const { return !myComments.empty(); }
    /// With their marks.
    const std::vector<std::string> &getComments() const { return myComments; }
    /// Whether the stream had its end. One that is cut between two entries hasn't.
    bool isWhole() const { return myWholeFlag; }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Out
    // ------------------------------------------------------------------ //
    ///@{
    /// False, with nothing written, if the form can't hold an entry; MARKED_TEXT holds those that give the same
    /// packets again.
    bool write(std::ostream &os, Form form) const;
    /// Leaves out what a compact stream has not: the list's separators and labels.
    void leaveOutValueless(const ZEL_ParmList &list);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Comparing
    // ------------------------------------------------------------------ //
    ///@{
    /// Makes it a stream of all of the list's parameters, which have been loaded from it: in their order, the last
    /// entry of each, for those without one what the list would save; then the entries of others. A menu's
    /// number becomes its token, unless a script makes the menu.
    void complete(const ZEL_ParmList &list);
    /// The entries that aren't the same, in the order of the left stream, then those that only the right one has.
    static std::vector<ZEL_StreamDifference> compare(const ZEL_ParmStream &left,
                                                     const ZEL_ParmStream &right);
    ///@}

private:
    class Reader;
    class Writer;

    bool isReadAgain(const KIT_ByteBuffer &bytes, Form form) const;
    bool givesPackets(const ZEL_ParmStream &text) const;

    float myVersion = 0.0f;
    bool myWholeFlag = false;
    std::vector<std::string> myComments;
    Entries myEntries;
};
