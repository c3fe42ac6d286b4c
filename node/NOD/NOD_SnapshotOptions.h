/// \file NOD_SnapshotOptions.h
/// What a snapshot does about values that don't lie in the scene alone.
///
/// Vocabulary: *foreign* = said of a value that the scene can't answer for at every time: an override that an
///             owner provides, an expression in Python, a menu that is made on request, a data item that refers
///             to another one, a variable of the process.
/// Ownership:  shares the owner with the snapshot.
/// Threads:    a value.
#pragma once

#include <KIT/KIT_StringRef.h>
#include <NOD/NOD_API.h>

#include <memory>
#include <string>

class KIT_String;

/// Evaluates foreign values for snapshots, on the threads that read them.
class NOD_API NOD_SnapshotOwner
{
public:
    virtual ~NOD_SnapshotOwner();
    /// A component of a parameter, by its token, of the node at the path. False: it can't be told, as when the
    /// node is gone.
    virtual bool evaluateNumber(const std::string &path, const KIT_StringRef &token, int component,
                                double time, int thread, double &value) = 0;
    virtual bool evaluateText(const std::string &path, const KIT_StringRef &token, int component,
                              double time, int thread, KIT_String &value) = 0;
};

/// The kinds of foreign values.
enum class NOD_Foreign : unsigned char
{
    OVERRIDE,
    PYTHON,
    MENU,
    DATA,
    VARIABLE
};

struct NOD_SnapshotOptions
{
    enum class Policy : unsigned char
    {
        PRESENT, ///< what it is when the snapshot is taken, at the time given here
        OWNER,   ///< what the owner says at each read; VARIABLE: as it is then
        REFUSED  ///< a read fails; VARIABLE: there is no such variable
    };

    Policy overrides = Policy::PRESENT;
    Policy python = Policy::PRESENT;
    Policy menus = Policy::PRESENT;
    Policy data = Policy::PRESENT;
    Policy variables = Policy::PRESENT;
    std::shared_ptr<NOD_SnapshotOwner> owner; ///< null: what is left to it can't be told
    double time = 0.0;                        ///< of present values, in seconds

    Policy of(NOD_Foreign kind) const;
};
