/// \file NOD_ServerWorkspacePrivate.h
/// The documents that are open, what they include, and what the client can do.
///
/// Threads:    one thread at a time.
#pragma once

#include <NOD/server/NOD_ServerDocumentPrivate.h>
#include <NOD/server/NOD_ServerIncludesPrivate.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

/// What the client says of itself.
struct NOD_ServerClient
{
    NOD_ServerText::Encoding encoding = NOD_ServerText::Encoding::UTF16;
    bool markdownFlag = false; ///< in what is shown of a place
    bool symbolTreeFlag = false;
    bool relatedFlag = false; ///< related places of diagnostics
    bool dataFlag = false;    ///< data of diagnostics
};

class NOD_ServerWorkspace
{
public:
    NOD_ServerClient client;
    NOD_ServerRules rules;

    void open(const NOD_ServerJson &item);
    void close(const std::string &uri);
    /// The one that the `textDocument` of parameters names; throws if it isn't open.
    NOD_ServerDocument &get(const NOD_ServerJson &params);
    NOD_ServerDocument *find(const std::string &uri);
    /// Null if none is due.
    NOD_ServerDocument *findDue();
    /// Files on disk have changed.
    void refresh();

    const NOD_ServerIncludes &includesOf(NOD_ServerDocument &document);
    /// The document and the files that it includes; those that are open as they are there.
    std::vector<NOD_ServerFilePtr> filesOf(NOD_ServerDocument &document);
    /// These, and the open documents that have one of them or include one.
    std::vector<NOD_ServerFilePtr> relatedFilesOf(NOD_ServerDocument &document);
    NOD_Interface::Includes includesFor(const NOD_ServerDocument &document) const;

private:
    NOD_ServerFilePtr openFile(const NOD_ServerFilePtr &file);

    std::map<std::string, std::unique_ptr<NOD_ServerDocument>> myDocuments;
    std::map<std::string, std::unique_ptr<const NOD_ServerIncludes>> myIncludes;
};
