/// \file NOD_Edit.h
/// A block of edits that one undo takes back, and the usual edits, which announce themselves. It is a batch
/// of the graph, too (NOD_Batch.h).
///
///     {
///         NOD_Edit edit(scene, "Place light");
///         edit.set(light, "tx", 2.5);
///         edit.key(light, "ty", 1.0, 3.0);
///         edit.expression(light, "tz", "ch('tx') * 2");
///         edit.change(light, "name");
///         name.set("Key light"); // any other call of the library on what was announced
///     }
///     scene.getUndo().undo();
///
/// Vocabulary: as NOD_UndoStack.h; *name* = a parameter's token, or a component's channel token or alias;
///             *block parameter* = one with items.
/// Units:      components and items from 0. Time in seconds; where none is given, the evaluation time of
///             the calling thread.
/// Ownership:  borrows stack and nodes.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Errors:     an edit is false, and nothing is done, where there is no parameter of the name and kind,
///             where all of its components are locked, or where ZEL_Handle.h says so. Nothing is
///             reported. The end of the scope is NOD_UndoStack::endOrForget().
/// Cost:       without a stack, that of the edits.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_Batch.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_SetOptions.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

class NOD_Node;
class NOD_Scene;
class NOD_UndoStack;
class ZEL_Parm;
struct TRK_FullKey;

class NOD_API NOD_Edit
{
public:
    NOD_Edit(NOD_Scene &scene, const std::string &label);
    NOD_Edit(NOD_UndoStack &stack, const std::string &label);
    /// On the stack of the node's tree; without one nothing is recorded.
    NOD_Edit(NOD_Node &node, const std::string &label);
    ~NOD_Edit();
    NOD_Edit(const NOD_Edit &) = delete;
    NOD_Edit &operator=(const NOD_Edit &) = delete;

    /// Takes back what was changed and ends the block. False, with nothing done, for an inner block. Edits
    /// after it are recorded no more.
    bool cancel();

    // ------------------------------------------------------------------ //
    /// \name Announcing   (before the edit; what is announced twice is kept as it was first)
    // ------------------------------------------------------------------ //
    ///@{
    /// The parameter with its channels, aliases, locks, and the items below it.
    bool change(NOD_Node &node, std::string_view name);
    void change(NOD_Node &node, ZEL_Parm &parm);
    /// Everything of the node, its spare parameters and interface included.
    void change(NOD_Node &node);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Values   (a token is its first component)
    // ------------------------------------------------------------------ //
    ///@{
    bool set(NOD_Node &node, std::string_view name, double value, ZEL_SetOptions options = {});
    bool set(NOD_Node &node, std::string_view name, std::int64_t value,
             ZEL_SetOptions options = {});
    template <class INTEGER, std::enable_if_t<std::is_integral_v<INTEGER>, int> = 0>
    bool set(NOD_Node &node, std::string_view name, INTEGER value, ZEL_SetOptions options = {})
    {
        return set(node, name, std::int64_t(value), options);
    }
    /// A string's text, or the token of an entry of a menu.
    bool set(NOD_Node &node, std::string_view name, std::string_view text,
             ZEL_SetOptions options = {});
    bool set(NOD_Node &node, std::string_view name, const char *text, ZEL_SetOptions options = {})
    {
        return set(node, name, std::string_view(text), options);
    }
    /// All components, of which there must be so many.
    bool set(NOD_Node &node, std::string_view token, std::initializer_list<double> values,
             ZEL_SetOptions options = {});
    /// A token is all components. Locked ones stay.
    bool revert(NOD_Node &node, std::string_view name);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Keys and expressions   (a token is its first component)
    // ------------------------------------------------------------------ //
    ///@{
    /// Makes or changes the key at the time, and the channel if there is none.
    bool key(NOD_Node &node, std::string_view name, double time, double value);
    bool key(NOD_Node &node, std::string_view name, double time, std::string_view text);
    /// The last key stays: removeChannel() makes a constant of it.
    bool removeKey(NOD_Node &node, std::string_view name, double time);
    /// The same of several at once.
    bool removeKeys(NOD_Node &node, std::string_view name, const std::vector<double> &times);
    /// Keys of numbers instead of those that there are, of which nothing is left; without any the component keeps the
    /// value that it has now. Of keys with the same time the last one counts.
    bool replaceKeys(NOD_Node &node, std::string_view name, const std::vector<TRK_FullKey> &keys);
    /// More keys of numbers, or other ones at their times. Of an integer their values are rounded.
    bool putKeys(NOD_Node &node, std::string_view name, const std::vector<TRK_FullKey> &keys);
    /// False also where there is a key already.
    bool moveKey(NOD_Node &node, std::string_view name, double time, double newTime);
    bool expression(NOD_Node &node, std::string_view name, std::string_view text,
                    TRK_ExprLanguage language = TRK_LANGUAGE_NATIVE);
    /// The component keeps the value that it has now.
    bool removeChannel(NOD_Node &node, std::string_view name);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Marks and names
    // ------------------------------------------------------------------ //
    ///@{
    /// A token is all components.
    bool lock(NOD_Node &node, std::string_view name, bool locked);
    /// Gives a component's channel a second name; "" for none. False if it is taken or can't be a name.
    bool alias(NOD_Node &node, std::string_view name, std::string_view alias);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Items of a block parameter
    // ------------------------------------------------------------------ //
    ///@{
    bool insertItem(NOD_Node &node, std::string_view token, int item);
    bool removeItem(NOD_Node &node, std::string_view token, int item);
    /// To another place: those in between move by one.
    bool moveItem(NOD_Node &node, std::string_view token, int item, int newItem);
    ///@}

private:
    struct Place;

    Place find(NOD_Node &node, std::string_view name, bool wholeFlag = false);
    ZEL_Parm *findBlock(NOD_Node &node, std::string_view token, int item, int end);

    NOD_Batch myBatch; ///< ends after the block
    NOD_UndoStack *myStack;
};
