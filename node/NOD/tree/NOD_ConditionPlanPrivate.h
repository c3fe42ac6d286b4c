/// \file NOD_ConditionPlanPrivate.h
/// The conditions of a list of parameters: what each reads, and what it governs.
///
/// Vocabulary: *control* = a component that a condition reads. *place* = the tab of folders, or the block,
///             that a parameter lies in. *number* = of a condition, 0-based, by parameter, tab and type.
/// Ownership:  borrows the list's templates. Lists of the same templates without items, spare parameters
///             and aliases share one plan.
/// Threads:    immutable once made.
#pragma once

#include <ZEL/ZEL_ConditionalBase.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

class ZEL_Conditional;
class ZEL_Parm;
class ZEL_ParmList;

class NOD_ConditionPlan
{
public:
    /// Their results by number.
    using Results = std::vector<char>;
    static constexpr int theParm = -1; ///< in place of a tab: the parameter itself

    struct Condition
    {
        int parm;
        int tab;
        ZEL_ConditionalType type;
        const ZEL_Conditional *test;
        bool expressionFlag;      ///< has expressions on the left
        std::size_t firstControl; ///< up to the next one's
    };
    /// Parameter and component.
    using Control = std::pair<int, int>;

    /// A shared one where it can be; null without conditions that disable or hide.
    static std::shared_ptr<const NOD_ConditionPlan> of(const ZEL_ParmList &parms);
    /// With `noCookFlag` those that keep from cooking, too. Without conditions places are found only if
    /// they are asked for.
    NOD_ConditionPlan(const ZEL_ParmList &parms, bool noCookFlag, bool placesFlag = false);

    const std::vector<Condition> &getConditions() const { return myConditions; }
    const Control *beginControls(int number) const
    {
        return myControls.data() + myConditions[std::size_t(number)].firstControl;
    }
    const Control *endControls(int number) const
    {
        return std::size_t(number) + 1 < myConditions.size()
                   ? beginControls(number + 1)
                   : myControls.data() + myControls.size();
    }
    /// Calls with the number of each condition that reads the component.
    template <class Call>
    void forEachReader(int parm, int component, const Call &call) const
    {
        const Control control(parm, component);
        for (auto at =
                 std::lower_bound(myReaders.begin(), myReaders.end(), std::make_pair(control, 0));
             at != myReaders.end() && at->first == control; ++at) {
            call(at->second);
        }
    }

    /// What its own condition of that type says; false without one.
    bool saysOwn(const Results &results, int parm, int tab, ZEL_ConditionalType type) const;
    /// With those around it.
    bool says(const Results &results, int parm, int tab, ZEL_ConditionalType type) const;
    /// Null without one, else its condition of that type; `number` is set to its number.
    const ZEL_Conditional *findOwn(int parm, int tab, ZEL_ConditionalType type, int &number) const;
    /// Where a parameter lies; parm -1: at the top.
    struct Place
    {
        int parm = -1;
        int tab = theParm;
    };
    Place getPlace(int parm) const
    {
        return myPlaces.empty() ? Place() : myPlaces[std::size_t(parm)];
    }
    /// Whether a parameter is the other one, or lies in it.
    bool liesIn(int parm, int around) const;
    /// Appends the parameter and all that lie in it, some twice.
    void addGoverned(int parm, std::vector<int> &parms) const;

private:
    void addConditions(const ZEL_ParmList &parms, int parmIndex, int tab, bool noCookFlag);
    void addControls(const ZEL_ParmList &parms, Condition &condition);
    void findPlaces(const ZEL_ParmList &parms);

    std::vector<Condition> myConditions;
    std::vector<Control> myControls;                ///< by condition
    std::vector<std::pair<Control, int>> myReaders; ///< of controls, sorted
    std::vector<Place> myPlaces;                    ///< by parameter; empty if all are at the top
    std::vector<std::pair<int, int>> myMembers;     ///< (around, within), sorted
};
