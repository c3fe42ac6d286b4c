/// \file ZEL_String.h
/// The instance of every parameter whose basic type is string: texts, file paths, references to
/// nodes, labels.
///
/// Vocabulary: *raw text* = the stored text of a component, as it was set; *expanded text* = the
///             raw one with its variables and backticks replaced; *literal form* = plain text with
///             expressions in backticks, what a component without a channel holds; *expression
///             form* = the same as one expression, what a channel holds.
/// Units:      texts are bytes without NUL. Component indices 0-based.
/// Ownership:  owns its texts; channels belong to the list's collection.
/// Threads:    reads from any thread at once, under one read-write lock for all components.
///             Setting, loading and hardening one thread at a time.
/// Errors:     "ZEL" 0, 2, 3, 4, 9, 14 on load, 18 on evaluation, 21 on a bad index in a set; an
///             expression that fails on expansion is reported as an evaluation error of the
///             component; at a limit of the evaluation or in a cycle the text is empty. A failed load
///             keeps what it had stored and linked until then.
/// Cost:       a raw read is a copy under the read lock; an expanded one also scans the text. Up to
///             2,000 bytes are expanded without heap memory except the caller's string. A channel
///             whose text doesn't change never takes the write lock.
///
/// The two forms, converted by `convertToExprLanguage` and back:
///
///     abc            "abc"
///     a`$F`b         "a"+$F+"b"
///     a`$F+1`b       "a"+($F+1)+"b"
#pragma once

#include <ZEL/ZEL_StringRep.h>
#include <ZEL/ZEL_ValueInstance.h>

#include <functional>
#include <memory>

class ZEL_API ZEL_String : public ZEL_ValueInstance
{
public:
    ZEL_String(ZEL_Template *templatePtr, ZEL_Parm *parm);
    ~ZEL_String() override;

    void adopt(ZEL_Instance &source) override;
    ZEL_Instance *duplicateSelf(ZEL_Parm *parm) const override;

    void setValueToDefault(double time, int index, ZEL_AddKeyType addKey) override;
    void revertToDefault(int index) override;
    void revertToDefaults(bool deleteChannels) override;
    void restoreFactoryDefault(int index) override;
    void overwriteDefault(double time, int index) override;
    /// Compares the stored text: a component with a channel matches only if its last result happens
    /// to be equal.
    bool isDefault(int index, ZEL_DefaultType type, bool checkLocks) const override;

    bool save(std::ostream &os, int binary, bool compiled) const override;
    bool load(KIT_IStream &is) override;
    void saveCommand(std::ostream &os, int values, int index) const override;
    int loadCommand(int argc, const char *const argv[], int index, bool asSet,
                    ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;

    using ZEL_ValueInstance::getValue;
    /// With a channel its result, whatever `expand` is; null when the owner's overrides failed.
    void getValue(ZEL_ParmList *list, double time, KIT_String &value, int index, bool expand,
                  int thread) const override;
    /// The number that the expanded text starts with.
    void getValue(ZEL_ParmList *list, double time, double &value, int index,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, std::int64_t &value, int index,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, int &value, int index,
                  int thread) const override;

    /// Nothing is written for an invalid index.
    void getDefaultValue(KIT_String &value, int index) const override;
    void getDefaultValue(std::int64_t &value, int index) const override;
    void getDefaultValue(int &value, int index) const override;
    void getDefaultValue(double &value, int index) const override;

    void getExpressionStringForUI(double time, KIT_String &text, int index,
                                  int thread) const override;
    /// A literal is returned in its expression form: abc gives "abc" with the quotes.
    void getExpression(double time, KIT_String &text, int index, bool expand,
                       int thread) const override;
    void setExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                       bool evaluate, bool deleteChannel) override;

    using ZEL_ValueInstance::setValue;
    /// Sets the empty text, whatever the item.
    void setValue(double time, const std::shared_ptr<const ZEL_DataItem> &value,
                  bool replaceExpression, int index, ZEL_AddKeyType addKey,
                  ZEL_KeySetType keySet) override;
    void setValue(double time, std::int64_t value, bool replaceExpression, int index,
                  ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    void setValue(double time, double value, bool replaceExpression, int index,
                  ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    /// A literal is stored, or becomes a key of the channel in its expression form; any other
    /// meaning makes the text the component's expression. `replaceExpression` is ignored.
    void setValue(double time, const char *text, TRK_StringMeaning meaning, bool replaceExpression,
                  int index, ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    void setDefaultChannelValue(TRK_Channel *channel, int index) override;

    /// The references found are passed to the collection's path resolver (TRK_PathResolver).
    void buildOpDependencies(const ZEL_RefId &id, int thread) override;
    /// Returns the number of components whose text changed.
    int changeOpRef(const char *oldFullPath, const char *newFullPath, const char *oldRelativePath,
                    const char *newRelativePath, const char *name,
                    void (*callback)(void *, ZEL_Parm *, int), void *data, int thread) override;
    /// Called with a component's stored text; returns whether it was changed.
    using Rewrite = std::function<bool(int index, KIT_String &text)>;
    /// Stores what is changed, as changeOpRef does: without an event, whatever the locks. From the last
    /// component to the first, but for those with a channel. Returns the number that were changed.
    int rewriteTexts(const Rewrite &rewrite);
    bool findString(const char *text, bool fullWord, bool usePattern) const override;
    int changeString(const char *from, const char *to, bool fullWord) override;
    bool notifyVarChange(int index, const char *name) override;

    bool getMagicString(KIT_TokenString &tokens, ZEL_ParmList *list, int size, double time,
                        bool addIfDefault, int thread) const override;
    bool isEditable(ZEL_ParmList *list, double time, int index) const override;
    bool isEditableByUI(ZEL_ParmList *list, double time, int index) const override;
    /// The last evaluation of any component decides for all of them.
    bool isTimeDependent(int index) const override;
    void setTimeDependent(int index, bool timeDependent) const override;
    void hardenChanges(double time, int index, bool force, const char *pattern,
                       KIT_Array<TRK_ChannelRef> *collect) override;
    std::int64_t getMemoryUsage(bool inclusive) const override;

    // ------------------------------------------------------------------ //
    /// \name The two forms of a text
    // ------------------------------------------------------------------ //
    ///@{
    /// Whether a set with that meaning creates an expression, whatever the text.
    static bool isExpression(const char *text, TRK_StringMeaning meaning,
                             const ZEL_Template *description);
    /// Replaces the buffer's contents by the expression form of a literal.
    static void convertToExprLanguage(const char *text, KIT_WorkBuffer &out);
    /// The inverse. Escapes in quoted pieces stay escaped.
    static void convertFromExprLanguage(const char *text, KIT_String &out);
    /// Whether expansion could change the text: it holds the old direct reference, or a dollar
    /// sign or backtick that no backslash precedes.
    static bool isStringThatCanExpand(const char *text);
    ///@}

protected:
    ZEL_String(const ZEL_String &source, ZEL_Parm *parm);

private:
    friend struct ZEL_Kind;
    friend class ZEL_ValueRules;

    /// One component, stored text unexpanded.
    void evalValue(ZEL_ParmList *list, double time, int index, int thread, KIT_String &out) const;
    /// False if `out` is final.
    bool readValue(ZEL_ParmList *list, double time, KIT_String &out, int index, bool expand,
                   int thread) const;
    void expandStored(ZEL_ParmList *list, double time, KIT_String &out, int index, int thread,
                      TRK_Collection *collection) const;
    /// The expanded text for a number; empty at a limit of the evaluation in progress.
    KIT_String textOfNumber(ZEL_ParmList *list, double time, int index, int thread) const;
    int getExpandFlags() const;
    ZEL_StringRep *texts() const { return getVectorSize() > 1 ? myTexts.several : &myTexts.only; }
    void makeTexts();
    void getStored(int index, KIT_WorkBuffer &out) const { texts()[index].get(myLock, out); }
    void storeText(int index, const char *text)
    {
        texts()[index].harden(myLock, text);
        tellTextsChanged();
    }
    void noteTimeDependent(bool timeDependent) const;

    bool hasMenu() const { return getChoiceListPtr() != nullptr; }
    /// For a menu, which reads a channel's text: replaces "ch(" by "chs(" in a plain reference.
    bool rewriteMenuReference(KIT_String &text, bool bare) const;
    void storeLiteral(int index, const char *text);
    /// Compiles what drives the component and stores its present text.
    void tryExpression(double time, int index, int thread);
    void setChannelText(const ChannelSet &set, const char *text, TRK_StringMeaning meaning);
    void buildKeyText(const TRK_Channel *channel, double time, const char *text,
                      KIT_WorkBuffer &out) const;
    void condenseStored(int index);
    static void createPythonExpressionEvaluatingToStringLiteral(const char *text,
                                                                KIT_WorkBuffer &out);

    void revertToDefaultWithoutRemovingChannel(double time, int index, ZEL_AddKeyType addKey);
    bool isFactoryText(const TRK_Channel &channel, const ZEL_Default &factory) const;
    void forceStringExpressions(TRK_Channel *channel);

    const char *textToSave(int index) const;
    void commandText(int index, KIT_String &text) const;
    bool savePlainBinary(std::ostream &os) const;
    bool savePlainAscii(std::ostream &os) const;
    bool loadPlainAscii(KIT_IStream &is);
    bool loadPlainBinary(KIT_IStream &is);
    Entry readAsciiEntry(KIT_IStream &is, int index, HeldChannels &held);
    Entry readAsciiLink(KIT_IStream &is, int index);
    bool readBinaryPacket(KIT_IStream &is, int packetId, int &numRead, const LoadRules &rules);

    /// The text of a single component, or several.
    union Texts
    {
        Texts() : only() {}
        ~Texts() {}
        mutable ZEL_StringRep only;
        ZEL_StringRep *several;
    };
    Texts myTexts;
    mutable ZEL_StringRep::Lock myLock;   // guards the texts of all components
    mutable bool myTimeDependent = false; // relaxed
};
