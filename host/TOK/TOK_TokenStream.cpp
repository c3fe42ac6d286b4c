#include <TOK/TOK_TokenStream.h>

#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <TOK/TOK_PreprocessorPrivate.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <string_view>
#include <utility>

namespace
{

std::atomic<bool> theConfinedFlag = false;

} // namespace

TOK_TokenStream::TOK_TokenStream(KIT_IStream &stream, const char *name)
    : myPreprocessor(std::make_unique<TOK_Preprocessor>(*this))
{
    const char *const known = name && *name ? name : stream.getName();
    std::string text(static_cast<size_t>(stream.remaining()), '\0');
    stream.breadRaw(text.data(), text.size());
    if (*known) {
        myManager = std::make_unique<TOK_Manager>();
    }
    myPreprocessor->setPath(KITgetEnv(KIT_VAR_PATH));
    myPreprocessor->openText(std::move(text), known, stream.isReadable());
    if (myManager) {
        myManager->setPosition(myPreprocessor->getFileName(), 0);
    }
}

TOK_TokenStream::TOK_TokenStream(const char *fileName, int mode)
    : myManager(std::make_unique<TOK_Manager>()),
      myPreprocessor(std::make_unique<TOK_Preprocessor>(*this))
{
    myPreprocessor->setPath(KITgetEnv(KIT_VAR_PATH));
    if (mode >= 0) {
        myPreprocessor->setIncludeDepth(std::min(mode, TOK_Limits::theIncludeDepth));
    }
    myPreprocessor->openFile(fileName ? fileName : "");
    myManager->setPosition(myPreprocessor->getFileName(), 0);
}

TOK_TokenStream::~TOK_TokenStream() = default;

bool TOK_TokenStream::isReadable() const
{
    return myPreprocessor->isReadable();
}

int TOK_TokenStream::getToken(KIT_String &token)
{
    if (!myPushedBack.empty()) {
        token = std::move(myPushedBack.back());
        myPushedBack.pop_back();
        return 1;
    }
    std::string_view text;
    bool quotedFlag;
    if (!myPreprocessor->next(text, quotedFlag)) {
        return 0;
    }
    token.harden(text.data(), text.size());
    if (quotedFlag && !myPreserveFlag) {
        token.expandControlSequences();
    }
    if (myManager) {
        myManager->setPosition(myPreprocessor->getFileName(), myPreprocessor->getLine());
    }
    return 1;
}

TOK_Span TOK_TokenStream::getSpan() const
{
    return myPreprocessor->getSpan();
}

void TOK_TokenStream::ungetToken(const KIT_String &token)
{
    myPushedBack.push_back(token);
}

void TOK_TokenStream::setCPPOptions(const char *const *options)
{
    myPreprocessor->setOptions(options);
}

void TOK_TokenStream::setIncludePath(const char *folders)
{
    myPreprocessor->setPath(folders);
}

void TOK_TokenStream::setIncludesConfined(bool confined)
{
    myPreprocessor->setConfined(confined);
}

void TOK_TokenStream::setAllIncludesConfined(bool confined)
{
    theConfinedFlag = confined;
}

bool TOK_TokenStream::areAllIncludesConfined()
{
    return theConfinedFlag;
}

void TOK_TokenStream::setKeepsTexts(bool keep)
{
    myPreprocessor->setKeepsTexts(keep);
}

void TOK_TokenStream::setEndsOpenTexts(bool ends)
{
    myPreprocessor->setEndsOpenTexts(ends);
}

bool TOK_TokenStream::getPlace(TOK_Place &place) const
{
    return myPreprocessor->getPlace(place);
}

bool TOK_TokenStream::getIncluder(int level, TOK_Place &place) const
{
    return myPreprocessor->getIncluder(level, place);
}

std::string_view TOK_TokenStream::getText() const
{
    return myPreprocessor->getText();
}

void TOK_TokenStream::cppWarning(const char *text)
{
    KITaddCommonWarning(KIT_COMMON_BAD_SCRIPT, text);
}

void TOK_TokenStream::cppError(const char *text)
{
    KITaddCommonError(KIT_COMMON_BAD_SCRIPT, text);
}

void TOK_TokenStream::cppInclude(const char *, int, const TOK_Span &, const char *,
                                 std::string_view)
{}
