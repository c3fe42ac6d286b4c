/// \file ZEL_UndoStreamPrivate.h
/// The text stream that the parameters of a list are saved to for undo, one after the other. Not
/// installed.
///
/// Making a stream takes longer than what most parameters write.
///
/// Ownership:  lives on the stack; the thread's parameters use the innermost one.
/// Threads:    one.
#pragma once

#include <memory>
#include <sstream>
#include <string>
#include <utility>

class ZEL_UndoStream
{
public:
    ZEL_UndoStream() : myOuter(std::exchange(theInnermost, this)) {}
    ~ZEL_UndoStream() { theInnermost = myOuter; }
    ZEL_UndoStream(const ZEL_UndoStream &) = delete;
    ZEL_UndoStream &operator=(const ZEL_UndoStream &) = delete;

    /// One parameter's turn: with a stream of its own if there is no list's, or a menu of the
    /// parameter that has it takes a snapshot.
    class Turn
    {
    public:
        Turn()
            : myFree(theInnermost ? &theInnermost->myFree : nullptr),
              myStream(myFree ? std::move(*myFree) : nullptr)
        {
            if (!myStream) {
                myStream = std::make_unique<std::ostringstream>();
            }
        }
        Turn(const Turn &) = delete;
        Turn &operator=(const Turn &) = delete;

        std::ostringstream &operator*() const { return *myStream; }
        std::ostringstream *operator->() const { return myStream.get(); }
        /// Without it, as after a failure, the stream isn't used again.
        void end()
        {
            if (myFree) {
                myStream->str(std::string());
                *myFree = std::move(myStream);
            }
        }

    private:
        std::unique_ptr<std::ostringstream> *myFree;
        std::unique_ptr<std::ostringstream> myStream;
    };

private:
    ZEL_UndoStream *myOuter;
    std::unique_ptr<std::ostringstream> myFree;

    static __thread ZEL_UndoStream *theInnermost;
};
