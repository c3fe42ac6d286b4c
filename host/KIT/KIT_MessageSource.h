/// \file KIT_MessageSource.h
/// What a thread is reading: gives messages that are reported meanwhile their place.
///
/// Vocabulary: *source* = a text, binary or stream that is read while the object lives; *word* = the
///             stretch that a message is about; *outer* = the source before, of which the bytes may be
///             a part.
/// Ownership:  borrows the bytes, the stream and all texts.
/// Threads:    a source serves the thread that makes it. Sources end in reverse order.
/// Errors:     none. What isn't known of a place stays unknown.
/// Cost:       a few stores. Only a message of which details are wanted (KIT_ErrorManager::theDetailsFlag)
///             looks for its place, and counts lines from where the message before was.
///
/// The file, line and offset are those of the outermost source that holds the word: a reader that
/// makes a stream of a part of its bytes needn't do anything for places in the whole.
#pragma once

#include <KIT/KIT_ErrorManager.h>

#include <memory>
#include <string_view>

class KIT_IStream;
struct KIT_MessageDetail;
struct KIT_MessagePlace;

class KIT_API KIT_MessageSource
{
public:
    /// Where in a stream that reads words the mistake is.
    enum class Word
    {
        LAST, ///< the one that ends at the position; without one, the next one
        NEXT  ///< the one after the position, which wasn't consumed
    };

    /// The word is at the stream's position; of a binary stream, the position itself.
    explicit KIT_MessageSource(const KIT_IStream &stream);
    /// The word is what setWord() says; of a binary, there are no lines.
    KIT_MessageSource(std::string_view bytes, std::string_view file, bool isBinary);
    ~KIT_MessageSource();
    KIT_MessageSource(const KIT_MessageSource &) = delete;
    KIT_MessageSource &operator=(const KIT_MessageSource &) = delete;

    /// A part of the bytes, which counts in place of the stream's position until it is reset by {}.
    void setWord(std::string_view word) { myWord = word; }
    /// The parameter or section that is read.
    void setSubject(std::string_view subject) { mySubject = subject; }
    /// A part of the bytes where what is read began, with what there is to say of it; {} for none.
    void setOpening(std::string_view word, const char *text)
    {
        myOpening = word;
        myOpeningText = text;
    }

    /// The place of a message that the thread reports now, with what its sources know; null where
    /// nothing is read, or nobody wants details. For reporters that know more; the others get it from
    /// KIT_ErrorManager::add().
    static std::shared_ptr<KIT_MessageDetail> makeDetail(Word word = Word::LAST);

    /// What the source and those around it know, for messages that don't go to an error manager.
    std::shared_ptr<KIT_MessageDetail> describe(Word word = Word::LAST) const;

private:
    std::string_view findWord(Word word) const;
    bool holds(std::string_view word) const;
    const KIT_MessageSource *findWhole(std::string_view word, std::string_view &file) const;
    void setPlace(std::string_view word, KIT_MessagePlace &place) const;

    KIT_MessageSource *myOuter;
    const KIT_IStream *myStream = nullptr;
    std::string_view myBytes;
    std::string_view myFile;
    std::string_view myWord;
    std::string_view mySubject;
    std::string_view myOpening;
    const char *myOpeningText = nullptr;
    bool myBinaryFlag;
    mutable std::size_t myCounted = 0; ///< an offset, and its line
    mutable int myCountedLine = 1;
};
