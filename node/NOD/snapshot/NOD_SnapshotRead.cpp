#include <NOD/snapshot/NOD_SnapshotReadPrivate.h>

#include <EVL/EVL.h>
#include <NOD/NOD_Snapshot.h>
#include <NOD/NOD_SnapshotBudget.h>
#include <NOD/snapshot/NOD_SnapshotNodePrivate.h>
#include <NOD/snapshot/NOD_SnapshotTreePrivate.h>
#include <TRK/TRK_Manager.h>

namespace
{

__thread const NOD_Snapshot *theReading __attribute__((tls_model("initial-exec")));

using Kind = NOD_SnapshotDriver::Kind;

} // namespace

NOD_SnapshotScope::NOD_SnapshotScope(const NOD_Snapshot &snapshot)
    : myOuter(theReading), myFrameRate(snapshot.getFrameRate())
{
    theReading = &snapshot;
}

NOD_SnapshotScope::~NOD_SnapshotScope()
{
    theReading = myOuter;
}

const NOD_Snapshot &NOD_SnapshotScope::get()
{
    return *theReading;
}

NOD_SnapshotRead::NOD_SnapshotRead(const NOD_SnapshotNode &node, NOD_SnapshotComponent component,
                                   double time, int thread, bool &timeDependent)
    : myNode(node), myParm(&node.getLayout().getParms()[std::size_t(component.parm)]),
      myDriver(nullptr), myComponent(component), myTime(time), myThread(thread),
      myTimeDependent(timeDependent)
{
    if (component.component < 0 || component.component >= myParm->size) {
        myParm = nullptr;
        return;
    }
    myPlain = node.getNumbers()[myParm->first + std::uint32_t(component.component)];
    myDriver = node.findDriver(myPlain);
}

/// Asks the owner of a foreign value. False, with an error, if nobody can tell.
template <class Ask>
bool NOD_SnapshotRead::ask(const Ask &ask) const
{
    const NOD_Snapshot &snapshot = NOD_SnapshotScope::get();
    NOD_SnapshotOwner *const owner = snapshot.myOptions.owner.get();
    const NOD_SnapshotLimits *const limits = NOD_SnapshotBudget::find();
    const bool toldFlag = myDriver->kind == Kind::OWNER && owner && (!limits || limits->owner) &&
                          ask(*owner, snapshot.myTree->pathOf(myNode.getPlace()));
    if (!toldFlag) {
        TRK_Manager::raiseError(EVL::EVL_REFUSED, myThread);
    }
    myTimeDependent = true;
    return toldFlag;
}

double NOD_SnapshotRead::driven() const
{
    double value = 0.0;
    switch (myDriver->kind) {
    case Kind::CHANNEL:
        return myParm->rules.fromChannel(myDriver->channel->get().evaluate(
            &myNode.getCollection(), myParm->rules.isAnimatible() ? myTime : 0.0, myThread,
            myTimeDependent));
    case Kind::PRESENT: return myDriver->number;
    default: break;
    }
    const auto evaluate = [&](NOD_SnapshotOwner &owner, const std::string &path) {
        return owner.evaluateNumber(path, myParm->token, myComponent.component, myTime, myThread,
                                    value);
    };
    return ask(evaluate) ? value : 0.0;
}

double NOD_SnapshotRead::number() const
{
    if (!myParm) {
        return 0.0;
    }
    if (myParm->rules.isNumber()) {
        return myDriver ? driven() : myPlain;
    }
    return myParm->rules.getKind() == ZEL_ValueRules::Kind::STRING
               ? ZEL_ValueRules::numberOf(countedText())
               : 0.0;
}

std::int64_t NOD_SnapshotRead::integer() const
{
    if (!myParm) {
        return 0;
    }
    if (myParm->rules.isNumber()) {
        return myDriver && myDriver->kind == Kind::PRESENT ? myDriver->integer
                                                           : myParm->rules.integerOf(number());
    }
    return myParm->rules.getKind() == ZEL_ValueRules::Kind::STRING
               ? ZEL_ValueRules::integerOf(countedText())
               : 0;
}

/// Read for a number: work of the evaluation in progress.
KIT_String NOD_SnapshotRead::countedText() const
{
    KIT_String value;
    text(value);
    if (!TRK_Manager::countTextRead(value.nonNullStr(), myThread)) {
        value.clear();
    }
    return value;
}

/// Errors are the text's own, unless it is all that is read.
void NOD_SnapshotRead::expand(KIT_String &text) const
{
    const KIT_StringHolder &stored =
        myNode.getText(myParm->text + std::uint32_t(myComponent.component));
    int number = EVL::EVL_OK;
    {
        const EVL::ErrorScope error(myThread, EVL::ErrorScope::CLEARED);
        const int result = TRK_Manager::getContext().expandString(
            stored.c_str(), text, myTime, const_cast<TRK_Collection *>(&myNode.getCollection()),
            myThread, myParm->rules.getExpandFlags(), &stored);
        myTimeDependent = myTimeDependent || (result & TRK_EXPAND_TIME_DEPENDENT) != 0;
        number = error.number();
    }
    if (number != EVL::EVL_OK && !TRK_Manager::isEvaluating()) {
        TRK_Manager::raiseError(number, myThread);
    }
}

void NOD_SnapshotRead::drivenText(KIT_String &text) const
{
    const auto *const collection = &myNode.getCollection();
    switch (myDriver->kind) {
    case Kind::CHANNEL:
        myDriver->channel->get().evaluateString(collection,
                                                myParm->rules.isAnimatible() ? myTime : 0.0,
                                                myThread, text, myTimeDependent);
        break;
    case Kind::TEXT: expand(text); break;
    case Kind::PRESENT: text = myDriver->text.c_str(); return;
    default:
        const auto evaluate = [&](NOD_SnapshotOwner &owner, const std::string &path) {
            return owner.evaluateText(path, myParm->token, myComponent.component, myTime, myThread,
                                      text);
        };
        if (!ask(evaluate)) {
            text = "";
        }
        return;
    }
    myParm->rules.finish(text);
}

void NOD_SnapshotRead::text(KIT_String &text) const
{
    if (!myParm) {
        text = "";
    } else if (myParm->rules.isNumber()) {
        if (myDriver && myDriver->kind != Kind::CHANNEL) {
            drivenText(text);
        } else {
            myParm->rules.textOf(number(), text);
        }
    } else if (myDriver) {
        drivenText(text);
    } else if (myParm->rules.getKind() == ZEL_ValueRules::Kind::STRING) {
        text = myNode.getText(myParm->text + std::uint32_t(myComponent.component)).c_str();
    } else {
        text = "";
    }
}
