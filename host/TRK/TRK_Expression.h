/// \file TRK_Expression.h
/// A compiled expression of language 0: parsed once, evaluated by any number of threads.
///
/// Vocabulary: *program* = the expression in postfix order, one *step* for each operation;
///             *number stack*, *text stack* = where a run keeps the operands of later steps.
///             ch("../light/tx") is a *reference* with the path "../light" and the name "tx".
/// Units:      times in seconds; angles of the trigonometric functions in degrees.
/// Ownership:  owns its program and the names in it; borrows nothing.
/// Threads:    immutable once compiled; evaluation from any thread.
/// Errors:     a text that can't be compiled gives an object that stores the EVL number and the
///             position; evaluating it raises that number. An expression in which anything fails
///             has the value 0, or the empty text. Numbers and limits: docs/channels.md.
/// Cost:       linear in the program. Numbers need no heap; a reference by a literal name costs
///             its look-up and the evaluation of its target.
///
/// The language is described in docs/channels.md.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Evaluation.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Answers for the references of one expression without looking for their names, for who knows where they lead.
class KIT_API TRK_ReferenceReader
{
public:
    virtual ~TRK_ReferenceReader();
    /// The number of TRK_Expression::getReferences()[reference]. False: it is to be found by its name.
    virtual bool readNumber(std::uint32_t reference, double time, int thread, double &value,
                            bool &timeDependent) const = 0;
};

class KIT_API TRK_Expression
{
public:
    /// The type of the value of a whole expression or a part of it.
    enum class Type : uint8_t
    {
        NUMBER,
        STRING,
        ANY ///< known only at evaluation: a variable's text, which may be a number
    };

    /// The operations of a program. The comment says what they pop from the stacks and push:
    /// n a number, s a text.
    enum class Code : uint8_t
    {
        NUMBER,      ///< - : n   the number of the step
        FRAME,       ///< - : n   $F
        FLOAT_FRAME, ///< - : n   $FF
        TIME,        ///< - : n   $T
        FPS,         ///< - : n   $FPS
        INTERPOLATE, ///< - : n   the segment's own curve
        NEGATE,      ///< n : n
        NOT,         ///< n : n
        TRUTH,       ///< n : n   1 unless 0
        ADD,         ///< n n : n and so on
        SUBTRACT,
        MULTIPLY,
        DIVIDE,
        MODULO,
        POWER,
        LESS,
        LESS_EQUAL,
        GREATER,
        GREATER_EQUAL,
        EQUAL,
        NOT_EQUAL,
        SWAP,               ///< n n : n n
        JUMP,               ///< - : -
        JUMP_IF_ZERO,       ///< n : -
        NOTHING,            ///< - : -
        FUNCTION,           ///< n.. : n a function of numbers
        CHANNEL,            ///< - : n   ch("literal")
        CHANNEL_AT,         ///< n : n   ch("literal", time)
        CHANNEL_NAMED,      ///< s : n   ch(text)
        CHANNEL_NAMED_AT,   ///< s n : n
        TO_NUMBER,          ///< s : n
        TO_TEXT,            ///< n : s
        TEXT,               ///< - : s   a literal
        VARIABLE,           ///< - : s   a variable; unknown is an error
        VARIABLE_IN_TEXT,   ///< - : s a variable inside a literal; an unknown one stays as written
        NODE_NAME,          ///< - : s   $OS
        JOIN,               ///< s s : s
        JOIN_NUMBER,        ///< n s : s the number comes first
        ADD_ANY,            ///< s s : s a sum if both are numbers, else joined
        COMPARE,            ///< s s : n -1, 0, 1 as texts
        COMPARE_ANY,        ///< s s : n as numbers if both are, else as texts
        TEXT_CHANNEL,       ///< - : s   chs("literal")
        TEXT_CHANNEL_AT,    ///< n : s
        TEXT_CHANNEL_NAMED, ///< s : s
        TEXT_CHANNEL_NAMED_AT, ///< s n : s
        TEXT_FUNCTION,         ///< s.. n.. : s a function with a text among its arguments
        TEXT_MEASURE           ///< s.. n.. : n the same with a number as its result
    };

    using NumberFunction = double (*)(const double *args, int count, bool &failed);

    /// The operands of a function with a text among its arguments.
    struct TextCall
    {
        KIT_String *texts;     ///< the texts in order; a text result replaces the first
        const double *numbers; ///< the numbers in order
        int count;             ///< of all arguments
        double number;         ///< a number result
    };
    /// False: invalid arguments. The result must not be longer than the texts given.
    using TextFunction = bool (*)(TextCall &call);

    struct Step
    {
        Code code;
        uint8_t count;  ///< arguments of a function
        uint32_t index; ///< of a reference or a literal; target of a jump; how many arguments of
                        ///< a function are texts
        union
        {
            double number;
            NumberFunction function;
            TextFunction textFunction;
        };
    };

    struct Reference
    {
        KIT_StringHolder path; ///< null: this collection
        KIT_StringHolder name;
        bool textFlag; ///< asked for its text
    };

    /// Compiles a text. Never null.
    static TRK_Expression *compile(const char *text);

    /// EVL::EVL_OK, or the reason why the text could not be compiled.
    int getError() const { return myError; }
    /// The error in words; empty if there is none.
    const char *getErrorText() const { return myErrorText.c_str(); }
    /// Offset of the error in the text, for an editor that highlights it.
    uint32_t getErrorPosition() const { return myErrorPosition; }

    Type getType() const { return myType; }
    /// True if it contains $F, $FF or $T.
    bool usesTime() const { return myTimeFlag; }
    /// True if it reads other channels or parameters.
    bool hasReferences() const { return myReferenceFlag; }
    /// True if the whole expression is one literal text.
    bool isStringLiteral() const { return mySteps.size() == 1 && mySteps[0].code == Code::TEXT; }
    /// The references by literal names, in the order of the text.
    const std::vector<Reference> &getReferences() const { return myReferences; }

    /// Who answers for its references from now on, as long as nobody listens to them. Before it is shared.
    void setReader(std::unique_ptr<const TRK_ReferenceReader> reader)
    {
        myReader = std::move(reader);
    }

    /// Treats the expression's value as text, whatever it contains.
    void forceStringType() { myType = Type::STRING; }

    double evaluateNumber(TRK_EvalState &state) const;
    /// False if anything failed; \p out is then empty.
    bool evaluateString(TRK_EvalState &state, KIT_String &out) const;

    /// Evaluates a text once, without a channel: as a number.
    static double evaluateTextNumber(const char *text, double time,
                                     const TRK_Collection *collection, int thread,
                                     bool *timeDependent = nullptr);
    /// Evaluates a text once, without a channel: as text.
    static bool evaluateTextString(const char *text, double time, const TRK_Collection *collection,
                                   int thread, KIT_String &out, bool *timeDependent = nullptr);
    /// The same as part of the evaluation that is in progress on the thread.
    static bool evaluateRecentText(const char *text, TRK_EvalState &state, KIT_String &out);

    /// Splits "path/name" at the last slash. Without a slash the path is null; for "/name" it is
    /// "/".
    static Reference splitReference(const char *text, size_t length, bool textFlag);

    int64_t getMemoryUsage(bool inclusive) const;

private:
    friend class TRK_ExpressionParser;
    friend class TRK_ExpressionTrace;
    class Runner;

    TRK_Expression() = default;
    bool prepare(TRK_EvalState &state) const;

    std::vector<Step> mySteps;
    std::vector<Reference> myReferences;
    std::vector<KIT_StringHolder> myTexts;
    std::unique_ptr<const TRK_ReferenceReader> myReader; ///< usually null
    std::string myErrorText;
    uint32_t myErrorPosition = 0;
    int myError = 0;
    int myNumberSlots = 0;
    int myTextSlots = 0;
    Type myResultType = Type::NUMBER; ///< which stack holds the result
    Type myType = Type::NUMBER;
    bool myTimeFlag = false;
    bool myReferenceFlag = false;
};
