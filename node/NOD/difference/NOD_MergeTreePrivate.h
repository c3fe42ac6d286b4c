/// \file NOD_MergeTreePrivate.h
/// Nodes (and declarations of scripts) merged: which of them there are, where, and under which names. Not installed.
///
/// Vocabulary: *entity* = one of them, in up to three states; the outermost record is the first one.
/// Ownership:  borrows the states.
/// Threads:    one thread at a time.
#pragma once

#include <NOD/NOD_Matching.h>
#include <NOD/difference/NOD_MergePartsPrivate.h>

class NOD_MergeTree
{
public:
    NOD_MergeTree(NOD_MergeJudge &judge, const NOD_MergeTriple &tops);
    std::unique_ptr<NOD_Record> run();

private:
    using Side = NOD_MergeSide;
    using Triple = NOD_MergeTriple;

    struct Entity
    {
        Triple of;
        int parents[3] = {-1, -1, -1};           ///< by side
        bool isEqual[3] = {false, false, false}; ///< with the base, in all that is below it
        int parent = -1;
        std::string name;
        bool isThere = true;
        Side contents = Side::OURS; ///< whose, where it isn't in both
        int turns = 0;              ///< how often it was put elsewhere
        std::vector<std::size_t> conflicts;
        std::vector<int> children;
    };

    void gatherBase(int id);
    void gatherOwn(const NOD_Record &record, Side side);
    void gatherAdded(const NOD_Record &record, int parent, Side side);
    int add(const Triple &triple);
    void setParents();
    bool hasChanged(const Entity &entity, Side side) const;
    void decideWhoIsThere();
    void decidePlaces();
    void decidePlace(Entity &entity);
    bool freeFromRemoved();
    void freeFromRemoved(int id);
    void dropBelow(int id, Side side);
    void revive(int id, Side side);
    void putAs(Entity &entity, Side side);
    bool openCircles();
    void openCircle(const std::vector<int> &circle);
    void settlePlaces();
    void listChildren();
    void settleNames(const std::vector<int> &children);
    void settleName(int one, int other, std::unordered_map<std::string, int> &taken);
    bool areOfOneState(const Entity &one, const Entity &other, const std::string &name) const;
    void settleTokens();
    std::unique_ptr<NOD_Record> assemble(int id);
    Side decide(NOD_Conflict::Kind kind, const Triple &triple, Entity &entity);

    const NOD_Matching &matchingOf(Side side) const
    {
        return side == Side::OURS ? myOurs : myTheirs;
    }

    NOD_MergeJudge &myJudge;
    NOD_Matching myOurs;
    NOD_Matching myTheirs;
    NOD_MergeParts myParts;
    std::vector<Entity> myEntities; ///< those of the base first, parents before their children
    std::unordered_map<const NOD_Record *, int> myIds; ///< of all three states
    std::unordered_map<std::string, int> myAdded;      ///< by parent, kind and name
};
