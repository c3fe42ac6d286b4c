#include <ZEL/ZEL_BatchList.h>

#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <memory>
#include <utility>

ZEL_BatchList::ZEL_BatchList(const ZEL_BatchList &other)
{
    *this = other;
}

ZEL_BatchList &ZEL_BatchList::operator=(const ZEL_BatchList &other)
{
    if (this != &other) {
        std::vector<std::unique_ptr<ZEL_BatchParm>> parms;
        parms.reserve(other.myParms.size());
        for (const auto &parm : other.myParms) {
            parms.push_back(parm ? std::make_unique<ZEL_BatchParm>(*parm) : nullptr);
        }
        myOps = other.myOps;
        myParms = std::move(parms);
    }
    return *this;
}

ZEL_BatchList::~ZEL_BatchList() = default;

ZEL_BatchParm *ZEL_BatchList::addParm(int index, const char *name, ZEL_BatchType type, int size,
                                      void *userData)
{
    auto parm = std::make_unique<ZEL_BatchParm>();
    if (index < 0 || !parm->init(name, type, size, userData)) {
        return nullptr;
    }
    const auto place = static_cast<size_t>(index);
    if (place >= myParms.size()) {
        myParms.resize(place + 1);
    }
    myParms[place] = std::move(parm);
    return myParms[place].get();
}

ZEL_BatchParm *ZEL_BatchList::addParm(const char *name, ZEL_BatchType type, int size,
                                      void *userData)
{
    return addParm(entries(), name, type, size, userData);
}

ZEL_BatchParm *ZEL_BatchList::addParm(const ZEL_Template *description, void *userData)
{
    if (!description) {
        return nullptr;
    }
    const ZEL_Type &kind = description->getType();
    if (!kind.isOrdinalType() && !kind.isFloatType() && !kind.isStringType()) {
        return nullptr;
    }
    const ZEL_BatchType type = kind.isOrdinalType() ? ZEL_BATCH_INT
                               : kind.isFloatType() ? ZEL_BATCH_REAL
                                                    : ZEL_BATCH_STRING;
    return addParm(description->getToken(), type, description->getVectorSize(), userData);
}

bool ZEL_BatchList::validate() const
{
    return std::find(myParms.begin(), myParms.end(), nullptr) == myParms.end();
}

// ---------------------------------------------------------------------- //
// Evaluation
// ---------------------------------------------------------------------- //

void ZEL_BatchList::setEvaluator(int op)
{
    if (!myOps.isEmpty() && myOps.last().count == 0) {
        myOps.last().op = op;
    } else {
        myOps.append({op, 0});
    }
}

bool ZEL_BatchList::setEvaluated(int parm, int index)
{
    ZEL_BatchParm *const evaluated = (*this)(parm);
    if (!evaluated || myOps.isEmpty()) {
        return false;
    }
    Evaluator &evaluator = myOps.last();
    ++evaluator.count;
    evaluated->myEvaluated = true;
    evaluated->myEvaluatingOp = evaluator.op;
    evaluated->myEvaluatingParmIndex = index;
    return true;
}

int ZEL_BatchList::getEvaluatingOps(KIT_ValArray<int> &ops) const
{
    const std::int64_t before = ops.size();
    for (const Evaluator &evaluator : myOps) {
        if (evaluator.count > 0) {
            ops.append(evaluator.op);
        }
    }
    return int(ops.size() - before);
}

void ZEL_BatchList::clearEvaluated()
{
    for (const auto &parm : myParms) {
        if (parm) {
            parm->clearEvaluated();
        }
    }
    myOps.clear();
}

void ZEL_BatchList::clearValueSet()
{
    for (const auto &parm : myParms) {
        if (parm) {
            parm->clearValueSet();
        }
    }
}

void ZEL_BatchList::dump() const
{
    for (const auto &parm : myParms) {
        if (parm) {
            parm->dump();
        }
    }
}
