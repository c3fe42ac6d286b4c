/// \file NOD_ServerFilePrivate.h
/// The text of one file with what stands in it.
///
/// Ownership:  shares the text.
/// Threads:    immutable once made.
#pragma once

#include <NOD/server/NOD_ServerNamesPrivate.h>
#include <NOD/server/NOD_ServerSourcePrivate.h>
#include <NOD/server/NOD_ServerTextPrivate.h>

#include <memory>
#include <string>
#include <utility>

class NOD_ServerFile
{
public:
    NOD_ServerFile(std::string uri, std::string path, std::shared_ptr<const NOD_ServerText> text)
        : myUri(std::move(uri)), myPath(std::move(path)), myText(std::move(text)),
          mySource(myText->get()), myNames(mySource)
    {}

    const std::string &getUri() const { return myUri; }
    const std::string &getPath() const { return myPath; }
    const NOD_ServerText &getText() const { return *myText; }
    const NOD_ServerSource &getSource() const { return mySource; }
    const NOD_ServerNames &getNames() const { return myNames; }

private:
    std::string myUri;
    std::string myPath;
    std::shared_ptr<const NOD_ServerText> myText;
    NOD_ServerSource mySource;
    NOD_ServerNames myNames;
};

using NOD_ServerFilePtr = std::shared_ptr<const NOD_ServerFile>;
