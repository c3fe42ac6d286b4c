/// \file KIT_MessageDetail.h
/// Where a mistake is and what is known of it, beside a message's text: what an editor marks and a
/// program reads.
///
/// Vocabulary: *place* = a stretch of one file; *fix* = a replacement of stretches after which the
///             mistake is gone and nothing else has changed its meaning.
/// Units:      lines and columns from 1, 0 where unknown; a column counts bytes, a character column
///             counts characters of UTF-8. The end is the first byte after the stretch. Offsets count
///             bytes of the file from 0, -1 where unknown: of a binary, the offset is all there is.
/// Ownership:  owns its texts. Messages share one detail, which nobody changes once it is reported.
/// Threads:    as the standard library's structs.
/// Cost:       what is reported without a detail has one null pointer.
#pragma once

#include <BAS/BAS_API.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct KIT_API KIT_MessagePlace
{
    /// Lines that are longer have no columns.
    static constexpr std::size_t theLongestLine = 1 << 14;

    std::string file; ///< "" for a text without a name
    int line = 0;
    int column = 0;
    int character = 0;
    int endLine = 0;
    int endColumn = 0;
    int endCharacter = 0;
    int64_t offset = -1;
    int64_t endOffset = -1;
    std::string source; ///< the text of the line; "" without columns

    /// Sets all but the file from the bytes [begin, end) of a text whose line is known; with 0 it is
    /// counted. What lies outside of the text is cut.
    void setFromText(std::string_view text, std::size_t begin, std::size_t end, int textLine = 0);
    bool isKnown() const { return line > 0 || offset >= 0; }
};

/// Another place that explains a message.
struct KIT_MessageRelated
{
    KIT_MessagePlace place;
    std::string text; ///< "the block begins here"
};

struct KIT_MessageEdit
{
    KIT_MessagePlace place; ///< what is replaced; nothing where its end is its begin
    std::string text;
};

struct KIT_MessageFix
{
    std::string what; ///< "replace flaot by float"
    std::vector<KIT_MessageEdit> edits;
};

struct KIT_API KIT_MessageDetail
{
    /// Of the bytes [begin, end) of a text; what is found is what they are.
    static std::shared_ptr<KIT_MessageDetail> ofText(std::string_view text, std::string_view file,
                                                     std::size_t begin, std::size_t end,
                                                     std::string_view subject = {});

    KIT_MessagePlace place;                     ///< where the mistake is
    std::string subject;                        ///< the parameter or section it is about
    std::vector<KIT_MessagePlace> includedFrom; ///< the `#include` lines, the innermost first
    std::vector<KIT_MessageRelated> related;    ///< in the order in which they help
    std::string found;                          ///< the word that was read
    std::vector<std::string> expected;          ///< the words that could be there
    std::string hint;                           ///< a sentence that helps, in addition to the text
    std::vector<KIT_MessageFix> fixes;          ///< alternatives, the likeliest first
    /// An earlier mistake led to it: whoever tells each mistake once leaves it out.
    bool followsFlag = false;
    bool endsFlag = false; ///< what comes after it isn't read

    /// Calls `change` for every place in it.
    template <class Change>
    void changePlaces(const Change &change)
    {
        change(place);
        for (KIT_MessagePlace &one : includedFrom) {
            change(one);
        }
        for (KIT_MessageRelated &one : related) {
            change(one.place);
        }
        for (KIT_MessageFix &fix : fixes) {
            for (KIT_MessageEdit &edit : fix.edits) {
                change(edit.place);
            }
        }
    }
};
