/// \file NOD_StreamRecordsPrivate.h
/// A parameter stream as records, and back. Not installed.
///
/// Vocabulary: *contents* = the record whose parts the parameters are.
/// Ownership:  shares the interface; keeps a node of it, which texts are read by.
/// Threads:    one thread at a time.
/// Errors:     to the report. What can't be taken apart without loss is kept as a whole text.
#pragma once

#include <NOD/NOD_FileLoss.h>
#include <NOD/NOD_Record.h>
#include <NOD/difference/NOD_BlockNamesPrivate.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class NOD_Interface;
class NOD_Node;
class NOD_Report;
class ZEL_ParmList;
class ZEL_ParmStream;
struct ZEL_StreamEntry;

class NOD_StreamRecords
{
public:
    enum class Reading
    {
        EXACT,    ///< to be written again
        MEANING,  ///< what the entries mean
        COMPLETED ///< the same, with what a new node has where there is none
    };

    /// Null knows no parameters. `spares` is the script of those of the node; "" for none.
    explicit NOD_StreamRecords(std::shared_ptr<const NOD_Interface> interface,
                               const std::string &spares = {});
    ~NOD_StreamRecords();

    /// Adds the parameters. False, with an error, if the stream can't be taken apart.
    bool read(std::string_view bytes, const std::string &name, Reading reading,
              NOD_Record &contents, NOD_Report &report);
    /// Of what was read: comments.
    const std::vector<NOD_FileLoss> &getLosses() const { return myLosses; }
    /// In the form asked for. False, with an error, if it can't hold them.
    bool write(const NOD_Record &contents, bool binary, std::string &bytes,
               NOD_Report &report) const;

private:
    bool parse(std::string_view bytes, const std::string &name, ZEL_ParmList *list,
               ZEL_ParmStream &stream, NOD_Report &report) const;
    bool complete(std::string_view bytes, const std::string &name, ZEL_ParmStream &stream,
                  NOD_Report &report);
    void keepDrivenTexts(std::string_view bytes, ZEL_ParmStream &stream) const;
    void build(const ZEL_ParmStream &stream, NOD_Record &contents) const;
    NOD_Record &placeOf(const std::string &token, std::size_t entries, NOD_Record &contents,
                        std::string &name) const;
    NOD_Record &makeParm(NOD_Record &place, const std::string &name) const;
    NOD_Record *itemOf(NOD_Record &block, int item) const;
    void countItems(NOD_Record &record, std::size_t entries) const;

    std::shared_ptr<const NOD_Interface> myInterface;
    std::string mySpares;             ///< the script of them
    std::unique_ptr<NOD_Node> myNode; ///< null: no parameters are known
    NOD_BlockNames myNames;
    std::vector<NOD_FileLoss> myLosses;
};
