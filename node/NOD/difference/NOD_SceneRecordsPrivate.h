/// \file NOD_SceneRecordsPrivate.h
/// The sections of a scene or node file as records, and back. Not installed.
///
/// Ownership:  records share the file and what reads its nodes.
/// Threads:    one thread at a time.
/// Errors:     to the report.
#pragma once

#include <NOD/NOD_Record.h>
#include <NOD/difference/NOD_NodeRecordsPrivate.h>
#include <NOD/files/NOD_SectionFilePrivate.h>

#include <memory>
#include <string>

class NOD_Report;

/// Adds all that the file has; its nodes are read when they are asked for. False, with an error, if it is no file of a
/// scene or node.
bool NODreadScene(const std::shared_ptr<const NOD_SectionFile> &file, const std::string &name,
                  const std::shared_ptr<NOD_NodeRecords> &nodes, NOD_Record &top,
                  NOD_Report &report);
/// All sections in their order.
bool NODwriteScene(const NOD_Record &top, NOD_NodeRecords &nodes, NOD_SectionWriter &writer,
                   NOD_Report &report);
/// The contents of a node as it is in such a file. Of one that hasn't been asked for, without asking.
bool NODwriteNode(const NOD_Record &contents, NOD_NodeRecords &nodes, NOD_NodeSections &sections,
                  NOD_Report &report);
