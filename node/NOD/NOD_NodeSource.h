/// \file NOD_NodeSource.h
/// Shows a tree of nodes to Python: `vmr.node("..")`, `vmr.ch("tx")`.
///
/// Vocabulary: as in SNK_NodeSource.h.
/// Ownership:  borrows the root, which must outlive it. While it lives it is the process's source.
/// Threads:    reading from any thread at once, as NOD_Node. Python code can't change a parameter:
///             setNumber() and setString() refuse, because evaluation calls them.
#pragma once

#include <NOD/NOD_API.h>
#include <SNK/SNK_NodeSource.h>

class NOD_Node;

class NOD_API NOD_NodeSource : public SNK_NodeSource
{
public:
    explicit NOD_NodeSource(NOD_Node &root);
    ~NOD_NodeSource() override;
    NOD_NodeSource(const NOD_NodeSource &) = delete;
    NOD_NodeSource &operator=(const NOD_NodeSource &) = delete;

    bool findNode(const char *path, const char *current, KIT_String &fullPath) override;
    bool listParms(const char *node, KIT_StringArray &tokens) override;
    bool findParm(const char *node, const char *name, SNK_ParmKind &kind) override;
    bool evaluateNumber(const char *node, const char *name, double time, int thread, double &value,
                        bool &timeDependent) override;
    bool evaluateString(const char *node, const char *name, double time, int thread,
                        KIT_String &value, bool &timeDependent) override;
    bool setNumber(const char *, const char *, double, double) override { return false; }
    bool setString(const char *, const char *, double, const char *) override { return false; }

private:
    NOD_Node &myRoot;
};
