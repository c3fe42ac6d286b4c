/// \file NOD_ServerDocumentPrivate.h
/// A document that an editor has open: its text, what stands in it, and what was last found in it.
///
/// Threads:    one thread at a time; what it shares stays as it is.
/// Errors:     a change that doesn't fit throws a NOD_ServerError, and the text is lost: file() throws
///             until a change brings the whole text.
/// Cost:       a change copies the text only while a pass reads it.
#pragma once

#include <NOD/server/NOD_ServerFilePrivate.h>
#include <NOD/server/NOD_ServerJsonPrivate.h>
#include <NOD/server/NOD_ServerPassPrivate.h>

#include <memory>
#include <string>

class NOD_ServerDocument
{
public:
    NOD_ServerDocument(std::string uri, std::string text, long version,
                       NOD_ServerText::Encoding encoding);

    const std::string &getUri() const { return myUri; }
    /// Of the file; of a document without one its URI.
    const std::string &getPath() const { return myPath; }
    bool hasFile() const { return myFileFlag; }
    long getVersion() const { return myVersion; }

    /// The changes of a notification, in their order.
    void change(const NOD_ServerJson &changes, long version);
    bool isLost() const { return myLostFlag; }

    const NOD_ServerText &getText() const { return *myText; }
    /// Throws where the text is lost or too large.
    const NOD_ServerFilePtr &file();

    /// Whether its text is to be read for mistakes.
    bool isDue() const { return myDueFlag && !myLostFlag; }
    void setDue() { myDueFlag = true; }
    std::shared_ptr<NOD_ServerPass> makePass(const NOD_ServerRules &rules);
    /// False for a pass of an older text.
    bool takePass(const std::shared_ptr<const NOD_ServerPass> &pass);
    /// Of the present text; null if there is none yet.
    const NOD_ServerPass *getPass() const;
    /// Of the last text that could be read; null if none could.
    const NOD_Interface *getInterface() const { return myInterface.get(); }

private:
    void checkKnown() const;
    void apply(const NOD_ServerJson &change);

    std::string myUri;
    std::string myPath;
    bool myFileFlag;
    long myVersion;
    std::shared_ptr<NOD_ServerText> myText;
    NOD_ServerFilePtr myFile;
    std::shared_ptr<const NOD_ServerPass> myPass;
    std::shared_ptr<const NOD_Interface> myInterface;
    bool myDueFlag = true;
    bool myLostFlag = false;
};
