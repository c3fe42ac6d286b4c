/// \file NOD_SpareParms.h
/// The spare parameters of one node: their descriptions, which the list borrows, and what
/// a load makes of names that the node type doesn't have.
///
/// Vocabulary: *set* = all spare parameters of the node, in order; *known* = said of a name that a
///             load may meet, if there is a description for it; *rename* = a name of older versions
///             and the present one.
/// Ownership:  owns the templates that spare parameters are made on, copies of what it is given; what
///             those point to is borrowed and must outlive the node's list, and so must this.
/// Threads:    the one that owns the list, between cooks.
/// Errors:     operations that may find nothing to do return false or null.
/// Cost:       adding one costs what one costs. Every other change of the set rebuilds it: pointers to
///             spare parameters don't outlive one.
#pragma once

#include <NOD/NOD_API.h>

#include <KIT/KIT_StringHolder.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

class KIT_StringArray;
class ZEL_Name;
class ZEL_Parm;
class ZEL_ParmList;
class ZEL_ParmNameMap;
class ZEL_Template;

class NOD_API NOD_SpareParms
{
public:
    NOD_SpareParms();
    ~NOD_SpareParms();
    NOD_SpareParms(const NOD_SpareParms &) = delete;
    NOD_SpareParms &operator=(const NOD_SpareParms &) = delete;

    // ------------------------------------------------------------------ //
    /// \name The set
    // ------------------------------------------------------------------ //
    ///@{
    /// The templates, up to a terminator, are the whole set from now on; null for none. What keeps
    /// its token keeps its value. Of a token that occurs twice the last description counts.
    void set(ZEL_ParmList &list, const ZEL_Template *templates);
    /// One more; null if the list has the token, or if the description makes no parameter.
    ZEL_Parm *add(ZEL_ParmList &list, const ZEL_Template &description);
    /// The descriptions of the set, in its order.
    std::vector<const ZEL_Template *> getDescriptions() const { return present(); }
    /// False if no spare parameter of the set has the token.
    bool remove(ZEL_ParmList &list, const KIT_StringRef &token);
    /// Owners of what templates borrow.
    using Owners = std::set<std::shared_ptr<const void>>;
    struct Described
    {
        std::vector<ZEL_Template> templates;
        Owners owners;
    };
    /// The descriptions of a set in order, null for none: a new object after each change.
    using Set = std::shared_ptr<const Described>;
    Set getSet() const;
    /// Makes one that this had the whole set again.
    void setSet(ZEL_ParmList &list, const Set &descriptions);
    /// Keeps an owner of what templates borrow that were or will be given to this.
    void keep(std::shared_ptr<const void> owner);
    /// The same set for another node's list, which has none; shares what the templates borrow.
    void copyTo(NOD_SpareParms &other, ZEL_ParmList &list) const;
    /// The templates in use: arrays up to terminators, for the set and for each that was added since.
    using Templates = std::vector<std::unique_ptr<ZEL_Template[]>>;
    /// Gives a list that is to replace the node's the same spare parameters, but for those whose
    /// tokens it has; no defaults are applied. Returns the templates that they had so far:
    /// the old list needs them to its end.
    Templates moveTo(ZEL_ParmList &list);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Names that a load doesn't know
    // ------------------------------------------------------------------ //
    ///@{
    /// Both may have a `#` for each number in the names of items.
    void addRename(const std::string &savedName, const std::string &name);
    /// Borrowed, up to a terminator; null for none.
    void setKnown(ZEL_Template *templates) { myKnown = templates; }
    /// Whether a name that isn't known becomes a spare float, if it can be a parameter's at all.
    void setKeepUnknownNames(bool keep) { myKeepUnknownNames = keep; }
    /// Maps what is renamed and adds the rest, all at once.
    void createForLoad(ZEL_ParmList &list, const KIT_StringArray &names, ZEL_ParmNameMap &map);
    ///@}

private:
    using Descriptions = std::vector<const ZEL_Template *>;

    Descriptions present() const;
    std::string renamed(const std::string &name) const;
    void rebuild(ZEL_ParmList &list, const Descriptions &descriptions);
    void addForLoad(const char *name, Descriptions &descriptions);

    Templates myTemplates;
    mutable Set mySet; ///< null: not asked for since the last change
    std::map<std::string, std::string> myRenames;
    ZEL_Template *myKnown = nullptr;
    bool myKeepUnknownNames = false;
    /// The spare floats that loads made. Kept to the end, so that they can be added again.
    struct SpareFloat;
    std::map<std::string, std::shared_ptr<SpareFloat>> myFloats;
    Owners myKept;
};
