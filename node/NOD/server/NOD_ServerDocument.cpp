#include <NOD/server/NOD_ServerDocumentPrivate.h>

#include <NOD/server/NOD_ServerUriPrivate.h>

#include <utility>

NOD_ServerDocument::NOD_ServerDocument(std::string uri, std::string text, long version,
                                       NOD_ServerText::Encoding encoding)
    : myUri(std::move(uri)), myPath(NODserverPath(myUri)), myFileFlag(!myPath.empty()),
      myVersion(version), myText(std::make_shared<NOD_ServerText>(std::move(text), encoding))
{
    myPath = myFileFlag ? myPath : myUri;
}

void NOD_ServerDocument::checkKnown() const
{
    if (myLostFlag) {
        throw NOD_ServerError{NOD_ServerError::REQUEST_FAILED,
                              myPath + ": its text isn't known any more: open it again"};
    }
}

void NOD_ServerDocument::change(const NOD_ServerJson &changes, long version)
{
    myVersion = version;
    myFile.reset();
    myPass.reset();
    myDueFlag = true;
    if (!changes.is_array()) {
        myLostFlag = true;
        throw NOD_ServerError{NOD_ServerError::INVALID_PARAMS, "contentChanges is no array"};
    }
    for (const NOD_ServerJson &one : changes) {
        try {
            apply(one);
        } catch (...) { // one that doesn't fit, or memory that is refused halfway
            myLostFlag = true;
            throw;
        }
    }
}

void NOD_ServerDocument::apply(const NOD_ServerJson &change)
{
    std::string text = NODserverString(change, "text");
    if (!NODfindServerMember(change, {"range"})) {
        myText = std::make_shared<NOD_ServerText>(myText->makeLike(std::move(text)));
        myLostFlag = false;
        return;
    }
    checkKnown();
    const NOD_ServerJson &range = NODserverMember(change, "range");
    const std::size_t begin = NODserverOffset(*myText, NODserverMember(range, "start"));
    const std::size_t end = NODserverOffset(*myText, NODserverMember(range, "end"));
    if (end < begin) {
        throw NOD_ServerError{NOD_ServerError::INVALID_PARAMS, "the range ends before it begins"};
    }
    if (myText.use_count() > 1) {
        myText = std::make_shared<NOD_ServerText>(*myText); // a pass or answer still reads it
    }
    myText->replace(begin, end, text);
}

const NOD_ServerFilePtr &NOD_ServerDocument::file()
{
    checkKnown();
    if (myText->get().size() > NOD_ServerPass::theMostBytes) {
        throw NOD_ServerError{NOD_ServerError::REQUEST_FAILED,
                              myPath + ": is larger than the server reads"};
    }
    if (!myFile) {
        myFile = std::make_shared<NOD_ServerFile>(myUri, myPath, myText);
    }
    return myFile;
}

std::shared_ptr<NOD_ServerPass> NOD_ServerDocument::makePass(const NOD_ServerRules &rules)
{
    auto pass = std::make_shared<NOD_ServerPass>(myUri, myPath, myText, rules);
    myDueFlag = false;
    return pass;
}

bool NOD_ServerDocument::takePass(const std::shared_ptr<const NOD_ServerPass> &pass)
{
    if (myLostFlag || &pass->getText() != myText.get()) {
        return false;
    }
    myPass = pass;
    myInterface = pass->getInterface() ? pass->getInterface() : myInterface;
    return true;
}

const NOD_ServerPass *NOD_ServerDocument::getPass() const
{
    return myPass && !myDueFlag && &myPass->getText() == myText.get() ? myPass.get() : nullptr;
}
