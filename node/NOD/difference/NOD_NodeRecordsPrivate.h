/// \file NOD_NodeRecordsPrivate.h
/// What a node's sections have, as records, and back. Not installed.
///
/// Ownership:  keeps what it knows of each interface, which records that aren't open yet share.
/// Threads:    one thread at a time.
/// Errors:     none: a section that can't be taken apart, or wouldn't be written to the same bytes again, is a record of
///             its text.
#pragma once

#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_Record.h>
#include <NOD/difference/NOD_StreamRecordsPrivate.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>

class NOD_Interface;

class NOD_NodeRecords
{
public:
    using Reading = NOD_StreamRecords::Reading;

    explicit NOD_NodeRecords(Reading reading) : myReading(reading) {}

    bool isExact() const { return myReading == Reading::EXACT; }
    /// By the key of a file, which is the type that a node's section names.
    void setInterface(const std::string &key, std::shared_ptr<const NOD_Interface> interface);
    void read(const NOD_NodeSections &sections, NOD_Record &contents);
    /// False if the values can't be written.
    bool write(const NOD_Record &contents, NOD_NodeSections &sections, NOD_Report &report);
    /// The parameters alone, as a stream of the node without a type.
    bool writeStream(const NOD_Record &contents, bool binary, std::string &bytes,
                     NOD_Report &report);

    /// Gives a text of values, of the node without a type, the blanks that the library writes; false, with nothing done,
    /// if that isn't all: it has comments, or is cut.
    bool renewBlanks(std::string &values);

private:
    NOD_StreamRecords &streamOf(const std::string &type, const std::string &spares,
                                std::unique_ptr<NOD_StreamRecords> &own);
    void readValues(const NOD_NodeSections &sections, NOD_Record &contents);

    Reading myReading;
    std::map<std::string, std::shared_ptr<const NOD_Interface>> myInterfaces;
    std::map<std::string, std::unique_ptr<NOD_StreamRecords>> myStreams;
};
