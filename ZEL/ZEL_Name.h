/// \file ZEL_Name.h
/// The two names of a parameter or menu entry: the token for programs, the label for the user.
///
/// Vocabulary: *token* = the name in programs and files; *label* = the name shown to the user, the
///             token when there is none; *sentinel* = a name with no token, which ends an array of
///             names; *instance* = a name whose `#` marks are replaced by numbers ("key#pos" with
///             3 gives "key3pos").
/// Ownership:  the constructor from two texts borrows them, so that static tables allocate nothing.
///             The setters and harden() take counted copies.
/// Threads:    const calls from any thread; changes by one thread at a time.
/// Errors:     none; a null text is the null state, distinct from the empty text.
/// Cost:       a name made from literals measures and hashes them once and allocates nothing.
#pragma once

#include <KIT/KIT_SmallObject.h>
#include <KIT/KIT_StringHolder.h>
#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>

#include <cstddef>
#include <cstdint>

class KIT_String;
class KIT_WorkBuffer;

class ZEL_API ZEL_Name : public KIT_SmallObject<>
{
public:
    /// Selects the constructor that shares two holders.
    enum ZEL_NameCopy
    {
        ZEL_NAME_COPY ///< the name shares the holders' storage
    };

    /// A sentinel.
    ZEL_Name() = default;

    /// Borrows both texts, which must outlive the name unless harden() follows. A null pointer
    /// gives the null state.
    ZEL_Name(const char *token, const char *label = nullptr, int expressionFlag = 0)
        : myToken(token), myLabel(label), myExpressionFlag(expressionFlag)
    {}

    /// Shares both holders, raising their counts.
    ZEL_Name(ZEL_NameCopy, const KIT_StringHolder &token, const KIT_StringHolder &label,
             int expressionFlag = 0)
        : myToken(token), myLabel(label), myExpressionFlag(expressionFlag)
    {}

    // ---------------------------------------------------------------- //
    /// \name Reading   (any thread)
    // ---------------------------------------------------------------- //
    /// The token; null for a sentinel.
    const char *getToken() const { return myToken.c_str(); }
    /// The label, or the token when there is no label; null when there is neither.
    const char *getLabel() const { return getLabelRef().c_str(); }
    const KIT_StringRef &getTokenRef() const { return myToken; }
    /// The label, or the token when there is no label.
    const KIT_StringRef &getLabelRef() const { return myLabel.isNull() ? myToken : myLabel; }
    /// Copies the token into the string.
    void getToken(KIT_String &token) const;
    void getLabel(KIT_String &label) const;

    /// The token's KIT_StringRef hash; 0 for a sentinel.
    uint32_t getHash() const { return myToken.hash(); }
    uint32_t getTokenHash() const { return myToken.hash(); }

    int getExpressionFlag() const { return myExpressionFlag; }
    void setExpressionFlag(int flag) { myExpressionFlag = flag; }

    /// Whether there is no token, which ends an array.
    bool isSentinel() const { return myToken.isNull(); }
    /// Whether it can be picked from a menu: has a token, and storage for it or for a label.
    bool isValidChoice() const { return !myToken.isNull() && (myToken.c_str() || myLabel.c_str()); }

    // ---------------------------------------------------------------- //
    /// \name Changing   (one thread at a time)
    // ---------------------------------------------------------------- //
    /// Take a counted copy; a null pointer gives the null state.
    void setToken(const char *token) { myToken = KIT_StringHolder(token); }
    void setLabel(const char *label) { myLabel = KIT_StringHolder(label); }
    void setTokenAndLabel(const char *token, const char *label)
    {
        setToken(token);
        setLabel(label);
    }
    /// Copies the references only: a borrowed one stays borrowed.
    void setTokenAndLabelRef(const KIT_StringRef &token, const KIT_StringRef &label)
    {
        myToken = token;
        myLabel = label;
    }
    /// Both texts become counted copies; the null state stays.
    void harden()
    {
        myToken.harden();
        myLabel.harden();
    }
    /// Sets both texts to the null state.
    void setAsSentinel()
    {
        myToken.clear();
        myLabel.clear();
    }
    /// A menu's dividing line: token and label "_separator_", flag 0.
    void setAsSeparator();

    // ---------------------------------------------------------------- //
    /// \name Instances   (see ZEL_InstanceString.h for the rules)
    // ---------------------------------------------------------------- //
    /// Replaces the marks of token and label by the numbers; a null text stays null.
    void instance(const int *indices, int count);
    void instance(const KIT_ValArray<int> &indices);
    /// The same for a token that isn't part of a name. `out` may not share the token's storage.
    static void instanceToken(KIT_String &out, const KIT_StringRef &token, const int *indices,
                              int count);
    static void instanceToken(KIT_String &out, const KIT_StringRef &token,
                              const KIT_ValArray<int> &indices);
    static void instanceToken(KIT_WorkBuffer &out, const KIT_StringRef &token, const int *indices,
                              int count);
    static void instanceToken(KIT_WorkBuffer &out, const KIT_StringRef &token,
                              const KIT_ValArray<int> &indices);

    /// Bytes of counted storage, and the record itself when inclusive.
    int64_t getMemoryUsage(bool inclusive) const;

private:
    KIT_StringRef myToken;
    KIT_StringRef myLabel;
    int32_t myExpressionFlag = 0;
};

/// Writes "[token, label, expression flag]", truncated to `size`; returns what KITformat() returns.
ZEL_API size_t format(char *buffer, size_t size, const ZEL_Name &name);
