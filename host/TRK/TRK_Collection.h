/// \file TRK_Collection.h
/// The channels of one node, by name and in creation order, with their evaluation and text form.
///
/// Vocabulary: *value source* = the node's parameter list, asked first for names in expressions;
///             *path resolver* = the node, asked for other nodes and for variables.
/// Ownership:  owns its channels. Borrows value source and path resolver, which must outlive their
///             use here or be set back to null.
/// Threads:    evaluate, evaluateString and const look-ups from any number of threads at once;
///             everything that makes, renames or removes channels from one, while nobody evaluates.
/// Errors:     null or false where nothing was found or done. Evaluation errors go to EVL::theErrNo
///             of the given thread, the first one stays. load reports through KITaddError("TRK").
/// Cost:       getChannel is one hash probe; evaluate is that of TRK_Channel. deleteChannel and
///             entries by index are linear and constant in the number of channels.

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
    /// In creation order; null out of range.
    TRK_Channel *getChannel(int index) const;
    int entries() const { return static_cast<int>(myChannels.size()); }
    /// The channel of that name or, without one, of that alias.
    TRK_Channel *findChannelOrAlias(const KIT_StringRef &name) const;
    /// Makes a channel with no keys, or answers the one of that name. Null: the name is not valid.
    TRK_Channel *addChannel(const KIT_StringRef &name);
    /// Destroys a channel of this collection; others and null are left alone.
    void deleteChannel(TRK_Channel *channel);
    /// False if the name is not valid or another channel has it. The creation order stays.
    bool renameChannel(TRK_Channel *channel, const KIT_StringRef &newName);
    /// A second name for references; null or empty takes it away.
    void setChannelAlias(TRK_Channel *channel, const KIT_StringRef &alias);
    /// Letters, digits, "_", ".", ":" and "#", at most 255, starting with a letter or "_".
    static bool isValidChannelName(const char *name);

    TRK_ExprLanguage getExprLanguage() const { return myLanguage; }
    void setExprLanguage(TRK_ExprLanguage language) { myLanguage = language; }

    // ---------------------------------------------------------------- //
    /// \name Evaluation   (any thread)
    // ---------------------------------------------------------------- //
    /// The channel's value, with references looked up here; 0 for a null channel.
    double evaluate(const TRK_Channel *channel, double time, bool reserved, int thread) const;
    /// The channel's text. False if anything failed; \p out is then empty.
    bool evaluateString(KIT_String &out, const TRK_Channel *channel, double time, int thread) const;

    void setValueSource(TRK_ValueSource *source) { myValueSource = source; }
    TRK_ValueSource *getValueSource() const { return myValueSource; }
    /// Everyone who keeps pointers to channels hears of each that is deleted, the value source only
    /// if it listens too. Borrowed; each leaves before it ends. A collection that is destroyed as a
    /// whole tells nobody.
    void addListener(TRK_ValueSource *listener) { myListeners.push_back(listener); }
    void removeListener(TRK_ValueSource *listener);
    void setPathResolver(TRK_PathResolver *resolver) { myPathResolver = resolver; }
    TRK_PathResolver *getPathResolver() const { return myPathResolver; }

    /// The value of a reference as an expression here sees it: the value source, else the channel
    /// of that name or alias. False: not known; no error is raised.
    bool evaluateReference(const KIT_StringRef &path, const KIT_StringRef &name, double time,
                           int thread, double &value, bool &timeDependent) const;
    bool evaluateReferenceString(const KIT_StringRef &path, const KIT_StringRef &name, double time,
                                 int thread, KIT_String &value, bool &timeDependent) const;
    /// The collection that a path names; a null path and "." are this one.
    const TRK_Collection *resolvePath(const KIT_StringRef &path) const;

    // ---------------------------------------------------------------- //
    /// \name Text form; see docs/channels.md
    // ---------------------------------------------------------------- //
    /// Writes all channels. The binary form is the text with its length in front.
    bool save(std::ostream &stream, bool binary = false) const;
    /// Reads what save wrote, exactly to its closing brace. A channel of the same name takes the
    /// contents read, others stay. At fault: a message with the line, false, and what was read up
    /// to there is kept.
    bool load(KIT_IStream &stream);

    /// Replaces a text in all expressions; the number of replacements.
    int changeString(const char *from, const char *to, bool wholeWord);
    /// As KIT_String::findString, in any expression.
    bool findString(const char *text, bool wholeWord, bool pattern) const;

    int64_t getMemoryUsage(bool inclusive) const;

private:
    /// What number and text references share: whose name it is, then its list, then its channel.
    template <class FromSource, class FromChannel>
    bool readReference(const KIT_StringRef &path, const KIT_StringRef &name, bool &timeDependent,
                       FromSource &&fromSource, FromChannel &&fromChannel) const;
    struct Hash
    {
        size_t operator()(const KIT_StringRef &name) const { return name.hash(); }
    };
    using Map = std::unordered_map<KIT_StringRef, TRK_Channel *, Hash>;

    friend class TRK_CollectionReader;

    Map myByName;
    Map myByAlias;
    std::vector<TRK_Channel *> myChannels;
    std::vector<TRK_ValueSource *> myListeners;
    TRK_ValueSource *myValueSource = nullptr;
    TRK_PathResolver *myPathResolver = nullptr;
    TRK_ExprLanguage myLanguage = TRK_LANGUAGE_NATIVE;
};
