#include <KIT/KIT_MessageSource.h>

#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageDetail.h>

#include <algorithm>
#include <functional>

static __thread KIT_MessageSource *theSource __attribute__((tls_model("initial-exec")));

namespace
{

/// Where the text begins of which [begin, end) is the last word, if it ends in a quote.
std::size_t findQuote(std::string_view bytes, std::size_t begin, std::size_t end)
{
    constexpr std::size_t theMost = 1024; // looked at
    const char quote = bytes[end - 1];
    if ((quote != '"' && quote != '\'') || (bytes[begin] == quote && end - begin > 1)) {
        return begin;
    }
    for (std::size_t at = end - 1; at-- > 0 && end - at < theMost && bytes[at] != '\n';) {
        if (bytes[at] == quote && (at == 0 || KIT_IStream::isWhitespace(bytes[at - 1]))) {
            return at;
        }
    }
    return begin;
}

} // namespace

KIT_MessageSource::KIT_MessageSource(const KIT_IStream &stream)
    : myOuter(theSource), myStream(&stream), myBytes(stream.bytes()), myFile(stream.getName()),
      myBinaryFlag(stream.isBinary())
{
    theSource = this;
}

KIT_MessageSource::KIT_MessageSource(std::string_view bytes, std::string_view file, bool isBinary)
    : myOuter(theSource), myBytes(bytes), myFile(file), myBinaryFlag(isBinary)
{
    theSource = this;
}

KIT_MessageSource::~KIT_MessageSource()
{
    theSource = myOuter;
}

// ------------------------------------------------------------------ //
// The word

std::string_view KIT_MessageSource::findWord(Word word) const
{
    if (myWord.data() || !myStream) {
        return myWord;
    }
    std::size_t begin = static_cast<std::size_t>(myStream->tellg());
    std::size_t end = begin;
    if (myStream->isBinary()) {
        return myBytes.substr(begin, 0);
    }
    const auto isBlank = [this](std::size_t at) { return KIT_IStream::isWhitespace(myBytes[at]); };
    if (word == Word::LAST && begin > 0 && !isBlank(begin - 1)) {
        for (; begin > 0 && !isBlank(begin - 1); --begin) {
        }
        begin = findQuote(myBytes, begin, end);
        return myBytes.substr(begin, end - begin);
    }
    for (; begin < myBytes.size() && isBlank(begin); ++begin) {
    }
    const char *const from = myBytes.data() + begin;
    end = begin + static_cast<std::size_t>(
                      KIT_IStream::wordEnd(from, myBytes.data() + myBytes.size()) - from);
    return myBytes.substr(begin, end - begin);
}

bool KIT_MessageSource::holds(std::string_view word) const
{
    const std::less_equal<> notAfter;
    return word.data() && notAfter(myBytes.data(), word.data()) &&
           notAfter(word.data() + word.size(), myBytes.data() + myBytes.size());
}

const KIT_MessageSource *KIT_MessageSource::findWhole(std::string_view word,
                                                      std::string_view &file) const
{
    const KIT_MessageSource *whole = nullptr;
    for (const KIT_MessageSource *source = this; source; source = source->myOuter) {
        if (source->holds(word)) {
            whole = source;
            file = source->myFile.empty() ? file : source->myFile;
        }
    }
    return whole;
}

// ------------------------------------------------------------------ //
// The place

void KIT_MessageSource::setPlace(std::string_view word, KIT_MessagePlace &place) const
{
    std::string_view file;
    const KIT_MessageSource *const whole = findWhole(word, file);
    if (!whole) {
        return;
    }
    place.file = file;
    const auto begin = static_cast<std::size_t>(word.data() - whole->myBytes.data());
    if (whole->myBinaryFlag) {
        place.offset = static_cast<std::int64_t>(begin);
        place.endOffset = place.offset + static_cast<std::int64_t>(word.size());
        return;
    }
    if (begin < whole->myCounted) {
        whole->myCounted = 0;
        whole->myCountedLine = 1;
    }
    const auto *const from = whole->myBytes.data() + whole->myCounted;
    whole->myCountedLine += static_cast<int>(std::count(from, word.data(), '\n'));
    whole->myCounted = begin;
    place.setFromText(whole->myBytes, begin, begin + word.size(), whole->myCountedLine);
}

std::shared_ptr<KIT_MessageDetail> KIT_MessageSource::makeDetail(Word word)
{
    return theSource && KITgetErrorManager().wantsDetails() ? theSource->describe(word) : nullptr;
}

std::shared_ptr<KIT_MessageDetail> KIT_MessageSource::describe(Word word) const
{
    constexpr std::size_t theLongestFound = 80;
    auto detail = std::make_shared<KIT_MessageDetail>();
    // First the openings, which come before the word, so that lines are counted once.
    for (const KIT_MessageSource *source = this; source; source = source->myOuter) {
        if (source->myOpening.data()) {
            source->setPlace(source->myOpening, detail->related.emplace_back().place);
            detail->related.back().text = source->myOpeningText;
        }
    }
    const std::string_view found = findWord(word);
    setPlace(found, detail->place);
    const auto tellsNothing = [&](const KIT_MessageRelated &one) {
        return one.place.line == detail->place.line && one.place.line != 0;
    };
    detail->related.erase(
        std::remove_if(detail->related.begin(), detail->related.end(), tellsNothing),
        detail->related.end());
    detail->found = found.substr(0, theLongestFound);
    for (const KIT_MessageSource *source = this; source; source = source->myOuter) {
        if (detail->subject.empty()) {
            detail->subject = source->mySubject;
        }
    }
    return detail;
}
