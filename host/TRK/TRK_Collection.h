/// \file TRK_Collection.h
/// The channels of one node, by name and in creation order, with their evaluation and text form.
///
/// Vocabulary: *value source* = the node's parameter list, searched first for names in expressions;
///             *path resolver* = the node, which resolves paths to other nodes and variables.
/// Ownership:  owns its channels. Borrows value source and path resolver, which must outlive their
///             use here or be reset to null.
/// Threads:    evaluate, evaluateString and const look-ups from any number of threads at once;
///             creating, renaming and removing channels from one thread, while no thread evaluates.
/// Errors:     null or false if nothing was found or done. Evaluation errors are stored in
///             EVL::theErrNo of the given thread, the first one is kept. load reports through
///             KITaddError("TRK").
/// Cost:       getChannel is one hash probe; evaluate costs what TRK_Channel says. deleteChannel is
///             linear in the number of channels, access by index constant.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Types.h>
#include <TRK/TRK_ValueSource.h>

#include <iosfwd>
#include <unordered_map>
#include <vector>

class KIT_IStream;

/// Codes of load's messages, under the category "TRK"; KIT_Messages.def has the row of each.
enum TRK_FileError : int
{
#define TRK_FILE_MESSAGE(enumerator, number, severity, sentence) enumerator = number,
#include <KIT/KIT_Messages.def>
};

class KIT_API TRK_Collection
{
public:
    TRK_Collection();
    ~TRK_Collection();
    TRK_Collection(const TRK_Collection &) = delete;
    TRK_Collection &operator=(const TRK_Collection &) = delete;

    // ---------------------------------------------------------------- //
    /// \name Channels
    // ---------------------------------------------------------------- //
    /// The channel of that name; aliases do not count. Null if none.
    TRK_Channel *getChannel(const KIT_StringRef &name) const;
    /// In creation order; null for an index out of range.
    TRK_Channel *getChannel(int index) const;
    int entries() const { return static_cast<int>(myChannels.size()); }
    /// The channel of that name or, if there is none, of that alias.
    TRK_Channel *findChannelOrAlias(const KIT_StringRef &name) const;
    /// Creates a channel without keys, or returns the existing one. Null for an invalid name.
    TRK_Channel *addChannel(const KIT_StringRef &name);
    /// Destroys a channel of this collection; ignores others and null. With \p byItsHolder a channel
    /// that has one holder is marked as held by none before the listeners are told. What a handler of
    /// channel events deletes is gone at once, but its memory stays until a channel is made or deleted
    /// outside of handlers: the call that raised the event may use it to its end.
    void deleteChannel(TRK_Channel *channel, bool byItsHolder = false);
    /// The same for many at once, in creation order, which costs what the collection costs once.
    void deleteChannels(std::vector<TRK_Channel *> channels, bool byItsHolder = false);
    /// False if the name is invalid or used by another channel. The creation order stays.
    bool renameChannel(TRK_Channel *channel, const KIT_StringRef &newName);
    /// A second name for references; null or empty removes it.
    void setChannelAlias(TRK_Channel *channel, const KIT_StringRef &alias);
    /// Letters, digits, "_", ".", ":" and "#", at most 255, starting with a letter or "_".
    static bool isValidChannelName(const char *name);

    TRK_ExprLanguage getExprLanguage() const { return myLanguage; }
    void setExprLanguage(TRK_ExprLanguage language) { myLanguage = language; }

    // ---------------------------------------------------------------- //
    /// \name Evaluation   (any thread)
    // ---------------------------------------------------------------- //
    /// The channel's value, with references resolved here; 0 for a null channel.
    double evaluate(const TRK_Channel *channel, double time, bool reserved, int thread) const;
    /// The channel's text. False if anything failed; \p out is then empty.
    bool evaluateString(KIT_String &out, const TRK_Channel *channel, double time, int thread) const;

    void setValueSource(TRK_ValueSource *source) { myValueSource = source; }
    TRK_ValueSource *getValueSource() const { return myValueSource; }
    /// Listeners are notified of each channel that is deleted, and when the whole collection is
    /// destroyed, so that they can drop their pointers; the value source only if it is also a
    /// listener. Borrowed; a listener must be removed before it is destroyed.
    void addListener(TRK_ValueSource *listener) { myListeners.push_back(listener); }
    void removeListener(TRK_ValueSource *listener);
    void setPathResolver(TRK_PathResolver *resolver) { myPathResolver = resolver; }
    TRK_PathResolver *getPathResolver() const { return myPathResolver; }
    /// Calls TRK_PathResolver::textsChanged: for whoever changes a text that belongs to this collection's
    /// node. Expressions of channels do so themselves.
    void tellTextsChanged() const
    {
        if (myPathResolver) {
            myPathResolver->textsChanged();
        }
    }

    /// The value of a reference as an expression here resolves it: from the value source, else from
    /// the channel of that name or alias. False: unknown; no error is raised.
    bool evaluateReference(const KIT_StringRef &path, const KIT_StringRef &name, double time,
                           int thread, double &value, bool &timeDependent) const;
    bool evaluateReferenceString(const KIT_StringRef &path, const KIT_StringRef &name, double time,
                                 int thread, KIT_String &value, bool &timeDependent) const;
    /// The collection at a path; null and "." mean this one.
    const TRK_Collection *resolvePath(const KIT_StringRef &path) const;

    // ---------------------------------------------------------------- //
    /// \name Text form; see docs/channels.md
    // ---------------------------------------------------------------- //
    /// Writes all channels. The binary form is the text preceded by its length.
    bool save(std::ostream &stream, bool binary = false) const;
    /// Reads what save wrote, exactly to its closing brace. A channel of the same name takes the
    /// contents read, others stay. For a malformed text it reports a message with the line, returns
    /// false and keeps what was read up to there. Comments aren't kept; they are added to `comments`, with their marks.
    bool load(KIT_IStream &stream, std::vector<std::string> *comments = nullptr);

    /// Replaces a text in all expressions; returns the number of replacements.
    int changeString(const char *from, const char *to, bool wholeWord);
    /// As KIT_String::findString, in any expression.
    bool findString(const char *text, bool wholeWord, bool pattern) const;

    int64_t getMemoryUsage(bool inclusive) const;

private:
    /// Shared by number and text references: finds the collection, then tries its list, then its
    /// channel.
    template <class FromSource, class FromChannel>
    bool readReference(const KIT_StringRef &path, const KIT_StringRef &name, double time,
                       bool &timeDependent, FromSource &&fromSource,
                       FromChannel &&fromChannel) const;
    void forgetNames(TRK_Channel &channel, bool byItsHolder);
    void announceDeleted(TRK_Channel &channel);
    void freeDeleted();
    /// Frees what handlers have deleted, unless one is running.
    void freeDeletedIfUnused();
    struct Hash
    {
        size_t operator()(const KIT_StringRef &name) const { return name.hash(); }
    };
    using Map = std::unordered_map<KIT_StringRef, TRK_Channel *, Hash>;

    friend class TRK_CollectionReader;

    Map myByName;
    Map myByAlias;
    std::vector<TRK_Channel *> myChannels;
    TRK_Channel *myDeleted = nullptr; ///< by handlers, whose callers may still use them; linked
    std::vector<TRK_ValueSource *> myListeners;
    TRK_ValueSource *myValueSource = nullptr;
    TRK_PathResolver *myPathResolver = nullptr;
    TRK_ExprLanguage myLanguage = TRK_LANGUAGE_NATIVE;
};
