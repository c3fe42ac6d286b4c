#include <NOD/snapshot/NOD_SnapshotNodePrivate.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Snapshot.h>
#include <NOD/NOD_SnapshotBudget.h>
#include <NOD/snapshot/NOD_SnapshotReadPrivate.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_DataItem.h>
#include <ZEL/ZEL_Parm.h>

#include <algorithm>
#include <cstring>

namespace
{

// A quiet NaN that no calculation gives; the place of a driver is in its low bits.
constexpr std::uint64_t theMark = 0x7FFA'5EED'0000'0000u;
constexpr std::uint64_t theMarkMask = 0xFFFF'FFFF'0000'0000u;

std::uint64_t bitsOf(double number)
{
    std::uint64_t bits;
    std::memcpy(&bits, &number, sizeof(bits));
    return bits;
}

double markOf(std::size_t driver)
{
    const std::uint64_t bits = theMark | driver;
    double number;
    std::memcpy(&number, &bits, sizeof(number));
    return number;
}

bool runsPython(const TRK_Channel &channel)
{
    for (int i = 0; i < channel.getNSegments(); ++i) {
        const TRK_Segment &segment = *channel.getSegment(i);
        if (!segment.isInterpolated() && segment.getExprLanguage() == TRK_LANGUAGE_PYTHON) {
            return true;
        }
    }
    return !channel.getDefaultString().isEmpty() &&
           channel.getDefaultLanguage() == TRK_LANGUAGE_PYTHON;
}

/// Whether a variable is read that neither the time nor a node has.
bool readsProcess(NOD_Node &node, const char *text)
{
    bool foundFlag = *text == '~';
    TRK_Manager::forEachVariable(text, [&](std::string_view name) {
        KIT_String value;
        const std::string word(name);
        foundFlag =
            foundFlag || !(TRK_Manager::isOwnVariable(name) ||
                           node.getVariable(KIT_StringRef(word.c_str(), word.size()), value));
    });
    return foundFlag;
}

bool readsProcess(NOD_Node &node, const TRK_Channel &channel)
{
    for (int i = 0; i < channel.getNSegments(); ++i) {
        if (readsProcess(node, channel.getSegment(i)->getExpression())) {
            return true;
        }
    }
    return readsProcess(node, channel.getDefaultString().nonNullStr());
}

bool mayReadOthers()
{
    const NOD_SnapshotLimits *const limits = NOD_SnapshotBudget::find();
    return !limits || limits->otherNodes;
}

} // namespace

NOD_SnapshotOwner::~NOD_SnapshotOwner() = default;

NOD_SnapshotOptions::Policy NOD_SnapshotOptions::of(NOD_Foreign kind) const
{
    switch (kind) {
    case NOD_Foreign::OVERRIDE: return overrides;
    case NOD_Foreign::PYTHON: return python;
    case NOD_Foreign::MENU: return menus;
    case NOD_Foreign::DATA: return data;
    case NOD_Foreign::VARIABLE: break;
    }
    return variables;
}

// ---------------------------------------------------------------------- //
// Taking
// ---------------------------------------------------------------------- //

/// Fills in a picture from the node.
class NOD_SnapshotNode::Taking
{
public:
    Taking(NOD_SnapshotNode &picture, NOD_Node &node, const NOD_SnapshotOptions &options)
        : myPicture(picture), myNode(node), myOptions(options), myThread(BASgetSTID()),
          myErrors(myThread), myNumber(myThread, EVL::ErrorScope::CLEARED)
    {}

    void parm(int index)
    {
        const ZEL_Parm *const parm = myNode.getParms().getParmPtr(index);
        const NOD_SnapshotParm &facts = myPicture.myLayout->getParms()[std::size_t(index)];
        if (!parm || facts.size == 0) {
            return;
        }
        if (facts.rules.isNumber() && !facts.rules.hasDynamicMenu() &&
            parm->getInstance()->isBare() && !myNode.isPendingOverride()) {
            plain(index, *parm, facts);
            return;
        }
        for (int k = 0; k < facts.size; ++k) {
            component(index, *parm, facts, k);
        }
    }

    /// Channels that expressions find by name, though no parameter has them.
    void orphans()
    {
        const TRK_Collection &channels = myNode.getChannels();
        const NOD_SnapshotLayout &layout = *myPicture.myLayout;
        for (int i = 0; i < channels.entries(); ++i) {
            const TRK_Channel &channel = *channels.getChannel(i);
            const KIT_StringHolder &alias = channel.getAlias();
            if (layout.findChannel(channel.getName().view()).parm < 0 ||
                (alias.length() > 0 && layout.findChannel(alias.view()).parm < 0)) {
                myPicture.myOrphans.push_back(
                    {channel.getName(), alias,
                     std::make_shared<const TRK_ChannelPicture>(channel)});
            }
        }
    }

private:
    void plain(int index, const ZEL_Parm &parm, const NOD_SnapshotParm &facts)
    {
        constexpr double theExact =
            9007199254740992.0; // from here not every whole number is a double
        double *const numbers = &myPicture.myNumbers[facts.first];
        parm.getValues(0.0, numbers, myThread);
        for (int k = 0; k < facts.size; ++k) {
            const bool wideFlag = facts.rules.getKind() == ZEL_ValueRules::Kind::ORDINAL &&
                                  !(std::abs(numbers[k]) < theExact);
            if (wideFlag || isMark(numbers[k])) {
                present(add(index, facts, k), parm);
            }
        }
    }

    void component(int index, const ZEL_Parm &parm, const NOD_SnapshotParm &facts, int k)
    {
        const TRK_Channel *const channel = parm.getInstance()->getChannel(k);
        const bool dataFlag = facts.rules.getKind() == ZEL_ValueRules::Kind::DATA;
        if (myNode.isPendingOverride() || parm.getInstance()->getIsOverrideActive(k)) {
            foreign(NOD_Foreign::OVERRIDE, add(index, facts, k), parm);
        } else if (channel && runsPython(*channel)) {
            foreign(NOD_Foreign::PYTHON, add(index, facts, k), parm);
        } else if (facts.rules.hasDynamicMenu()) {
            foreign(NOD_Foreign::MENU, add(index, facts, k), parm);
        } else if (dataFlag && channel) {
            foreign(NOD_Foreign::DATA, add(index, facts, k), parm);
        } else if (dataFlag) {
            present(add(index, facts, k), parm);
        } else if (channel) {
            NOD_SnapshotDriver &driver = add(index, facts, k);
            driver.kind = NOD_SnapshotDriver::Kind::CHANNEL;
            const auto taken = std::make_shared<TRK_ChannelPicture>(*channel);
            driver.channel = taken;
            driver.unlinked = taken.get();
            noteProcess(driver, readsProcess(myNode, *channel));
        } else if (facts.rules.getKind() == ZEL_ValueRules::Kind::STRING) {
            text(index, parm, facts, k);
        } else {
            number(index, parm, facts, k);
        }
    }

    void number(int index, const ZEL_Parm &parm, const NOD_SnapshotParm &facts, int k)
    {
        double &number = myPicture.myNumbers[facts.first + std::uint32_t(k)];
        std::int64_t whole = 0;
        parm.getValue(0.0, number, k, myThread);
        parm.getValue(0.0, whole, k, myThread);
        if (isMark(number) || whole != facts.rules.integerOf(number)) {
            present(add(index, facts, k), parm);
        }
    }

    void text(int index, const ZEL_Parm &parm, const NOD_SnapshotParm &facts, int k)
    {
        KIT_String text;
        parm.getValue(0.0, text, k, false, myThread);
        const bool expandFlag =
            TRK_Manager::isExpandable(text.nonNullStr(), facts.rules.getExpandFlags());
        if (!expandFlag) {
            parm.getValue(0.0, text, k, true, myThread);
        }
        myPicture.myTexts[facts.text + std::uint32_t(k)] = KIT_StringHolder(text.nonNullStr());
        myPicture.myNumbers[facts.first + std::uint32_t(k)] = 0.0;
        if (expandFlag) {
            NOD_SnapshotDriver &driver = add(index, facts, k);
            driver.kind = NOD_SnapshotDriver::Kind::TEXT;
            noteProcess(driver, readsProcess(myNode, text.nonNullStr()));
        }
    }

    NOD_SnapshotDriver &add(int index, const NOD_SnapshotParm &facts, int k)
    {
        myPicture.myNumbers[facts.first + std::uint32_t(k)] = markOf(myPicture.myDrivers.size());
        myPicture.myDrivers.emplace_back();
        NOD_SnapshotDriver &driver = myPicture.myDrivers.back();
        driver.parm = std::uint32_t(index);
        driver.component = std::uint32_t(k);
        return driver;
    }

    static void noteProcess(NOD_SnapshotDriver &driver, bool processFlag)
    {
        driver.foreignFlag = processFlag;
        driver.foreign = NOD_Foreign::VARIABLE;
    }

    void foreign(NOD_Foreign kind, NOD_SnapshotDriver &driver, const ZEL_Parm &parm)
    {
        using Policy = NOD_SnapshotOptions::Policy;
        driver.foreignFlag = true;
        driver.foreign = kind;
        const Policy policy = myOptions.of(kind);
        if (policy == Policy::PRESENT) {
            present(driver, parm);
            myPicture.myPresentFlag = true;
        } else {
            driver.kind = policy == Policy::OWNER ? NOD_SnapshotDriver::Kind::OWNER
                                                  : NOD_SnapshotDriver::Kind::REFUSED;
        }
    }

    void present(NOD_SnapshotDriver &driver, const ZEL_Parm &parm)
    {
        driver.kind = NOD_SnapshotDriver::Kind::PRESENT;
        const int component = int(driver.component);
        KIT_String text;
        parm.getValue(myOptions.time, driver.number, component, myThread);
        parm.getValue(myOptions.time, driver.integer, component, myThread);
        parm.getValue(myOptions.time, text, component, true, myThread);
        parm.getValue(myOptions.time, driver.item, component, myThread);
        driver.text = KIT_StringHolder(text.nonNullStr());
    }

    NOD_SnapshotNode &myPicture;
    NOD_Node &myNode;
    const NOD_SnapshotOptions &myOptions;
    const int myThread;
    const KIT_ErrorManager::Scope myErrors;
    const EVL::ErrorScope myNumber;
};

NOD_SnapshotNode::NOD_SnapshotNode(NOD_Node &node, std::uint32_t place,
                                   std::shared_ptr<const NOD_SnapshotLayout> layout,
                                   std::shared_ptr<double[]> numbers,
                                   const NOD_SnapshotOptions &options)
    : myLayout(std::move(layout)), myNumbers(std::move(numbers)), myTexts(myLayout->getNumTexts()),
      myPlace(place)
{
    Taking taking(*this, node, options);
    for (std::size_t i = 0; i < myLayout->getParms().size(); ++i) {
        taking.parm(int(i));
    }
    if (node.getChannels().entries() > 0) {
        taking.orphans();
    }
    connect();
}

NOD_SnapshotNode::NOD_SnapshotNode(const NOD_SnapshotNode &former, NOD_Node &node,
                                   const NOD_SnapshotOptions &options,
                                   const std::vector<int> &changed)
    : myLayout(former.myLayout), myNumbers(new double[myLayout->getNumNumbers()]),
      myTexts(former.myTexts), myPlace(former.myPlace), myPresentFlag(former.myPresentFlag),
      myOthersFlag(former.myOthersFlag)
{
    std::copy_n(former.myNumbers.get(), myLayout->getNumNumbers(), myNumbers.get());
    const auto changes = [&](const NOD_SnapshotDriver &driver) {
        return std::find(changed.begin(), changed.end(), int(driver.parm)) != changed.end();
    };
    for (const NOD_SnapshotDriver &driver : former.myDrivers) {
        if (!changes(driver)) {
            const NOD_SnapshotParm &facts = myLayout->getParms()[driver.parm];
            myNumbers[facts.first + driver.component] = markOf(myDrivers.size());
            myDrivers.push_back(driver);
        }
    }
    Taking taking(*this, node, options);
    for (const int index : changed) {
        taking.parm(index);
    }
    if (node.getChannels().entries() > 0) {
        taking.orphans();
    }
    connect();
}

NOD_SnapshotNode::~NOD_SnapshotNode() = default;

/// Where the references of an expression led when the snapshot was taken. A node that has other parameters since then
/// is looked through by name.
class NOD_SnapshotNode::Links : public TRK_ReferenceReader
{
public:
    struct Link
    {
        const NOD_SnapshotLayout *layout = nullptr; ///< null: by name
        NOD_SnapshotComponent component;
        std::uint32_t place = 0;
        std::uint32_t number = 0;
        bool numberFlag = false; ///< of a kind whose numbers lie there
        bool otherFlag = false;  ///< of another node, perhaps
    };

    explicit Links(std::vector<Link> links) : myLinks(std::move(links)) {}

    bool readNumber(std::uint32_t reference, double time, int thread, double &value,
                    bool &timeDependent) const override
    {
        const Link &link = myLinks[reference];
        if (!link.layout) {
            return false;
        }
        const NOD_SnapshotNode &node = *NOD_SnapshotScope::get().getNode(link.place);
        if (node.myLayout.get() != link.layout || (link.otherFlag && !mayReadOthers())) {
            return false;
        }
        const double plain = node.myNumbers[link.number];
        value = link.numberFlag && !isMark(plain)
                    ? plain
                    : NOD_SnapshotRead(node, link.component, time, thread, timeDependent).number();
        return true;
    }

private:
    std::vector<Link> myLinks;
};

void NOD_SnapshotNode::link(const NOD_Snapshot &snapshot)
{
    const auto linkOf = [&](const TRK_Expression::Reference &reference) {
        Links::Link link;
        const bool otherFlag = !reference.path.isNull();
        const NOD_SnapshotNode *const node =
            otherFlag ? snapshot.findNode(myPlace, reference.path.view()) : this;
        const NOD_SnapshotComponent found =
            node ? node->myLayout->findChannel(reference.name.view()) : NOD_SnapshotComponent();
        myOthersFlag = myOthersFlag || otherFlag;
        if (found.parm >= 0) {
            const NOD_SnapshotParm &facts = node->myLayout->getParms()[std::size_t(found.parm)];
            link = {node->myLayout.get(),   found,
                    node->myPlace,          facts.first + std::uint32_t(found.component),
                    facts.rules.isNumber(), otherFlag};
        }
        return link;
    };
    const auto make = [&](const TRK_Expression &expression) {
        std::vector<Links::Link> links;
        for (const TRK_Expression::Reference &reference : expression.getReferences()) {
            links.push_back(linkOf(reference));
        }
        return std::make_unique<const Links>(std::move(links));
    };
    for (NOD_SnapshotDriver &driver : myDrivers) {
        if (driver.unlinked) {
            driver.unlinked->link(make);
            driver.unlinked = nullptr;
        }
    }
}

void NOD_SnapshotNode::connect()
{
    myCollection.setPathResolver(this);
    myCollection.setValueSource(this);
}

// ---------------------------------------------------------------------- //
// What it has
// ---------------------------------------------------------------------- //

bool NOD_SnapshotNode::isMark(double number)
{
    return (bitsOf(number) & theMarkMask) == theMark;
}

const NOD_SnapshotDriver *NOD_SnapshotNode::findDriver(double number) const
{
    return isMark(number) ? &myDrivers[bitsOf(number) & ~theMarkMask] : nullptr;
}

void NOD_SnapshotNode::collectVariables(std::set<std::string> &names) const
{
    const auto collect = [&](const char *text) {
        if (*text == '~') {
            names.insert("HOME");
        }
        TRK_Manager::forEachVariable(text, [&](std::string_view name) {
            if (!TRK_Manager::isOwnVariable(name)) {
                names.emplace(name);
            }
        });
    };
    const auto collectChannel = [&](const TRK_Channel &channel) {
        for (int i = 0; i < channel.getNSegments(); ++i) {
            collect(channel.getSegment(i)->getExpression());
        }
        collect(channel.getDefaultString().nonNullStr());
    };
    for (const NOD_SnapshotDriver &driver : myDrivers) {
        if (driver.kind == NOD_SnapshotDriver::Kind::TEXT) {
            collect(myTexts[myLayout->getParms()[driver.parm].text + driver.component].c_str());
        } else if (driver.unlinked) {
            collectChannel(driver.unlinked->get());
        }
    }
    for (const Orphan &orphan : myOrphans) {
        collectChannel(orphan.channel->get());
    }
}

std::int64_t NOD_SnapshotNode::getMemoryUsage() const
{
    std::size_t bytes = sizeof(*this) + myLayout->getNumNumbers() * sizeof(double) +
                        myTexts.capacity() * sizeof(KIT_StringHolder) +
                        myDrivers.capacity() * sizeof(NOD_SnapshotDriver) +
                        myOrphans.capacity() * sizeof(Orphan);
    for (const NOD_SnapshotDriver &driver : myDrivers) {
        bytes += driver.channel ? std::size_t(driver.channel->getMemoryUsage(true)) : 0;
    }
    return std::int64_t(bytes);
}

const TRK_ChannelPicture *NOD_SnapshotNode::findOrphan(const KIT_StringRef &name) const
{
    const auto named = [&](bool aliasFlag) {
        return std::find_if(myOrphans.begin(), myOrphans.end(), [&](const Orphan &orphan) {
            return (aliasFlag ? orphan.alias : orphan.name) == name;
        });
    };
    auto found = named(false);
    found = found != myOrphans.end() ? found : named(true);
    return found != myOrphans.end() ? found->channel.get() : nullptr;
}

// ---------------------------------------------------------------------- //
// What expressions ask for
// ---------------------------------------------------------------------- //

TRK_Collection *NOD_SnapshotNode::findCollection(const KIT_StringRef &path)
{
    const NOD_SnapshotNode *const node = NOD_SnapshotScope::get().findNode(myPlace, path.view());
    if (node && node != this && !mayReadOthers()) {
        TRK_Manager::raiseError(EVL::EVL_REFUSED, BASgetSTID());
        return nullptr;
    }
    // Nothing changes a collection that is asked for a value.
    return node ? const_cast<TRK_Collection *>(&node->myCollection) : nullptr;
}

bool NOD_SnapshotNode::getVariable(const KIT_StringRef &name, KIT_String &value)
{
    return NOD_SnapshotScope::get().getVariable(myPlace, name, value);
}

bool NOD_SnapshotNode::getEnvironment(const KIT_StringRef &name, KIT_String &value)
{
    return NOD_SnapshotScope::get().getEnvironment(name, value);
}

void NOD_SnapshotNode::getPath(KIT_WorkBuffer &path)
{
    NOD_SnapshotScope::get().appendPath(myPlace, path);
}

bool NOD_SnapshotNode::evaluateNumber(const KIT_StringRef &name, double time, int thread,
                                      double &value, bool &timeDependent)
{
    const NOD_SnapshotComponent found = myLayout->findChannel(name.view());
    if (found.parm >= 0) {
        value = NOD_SnapshotRead(*this, found, time, thread, timeDependent).number();
        return true;
    }
    const TRK_ChannelPicture *const orphan = findOrphan(name);
    if (orphan) {
        value = orphan->get().evaluate(&myCollection, time, thread, timeDependent);
    }
    return orphan != nullptr;
}

bool NOD_SnapshotNode::evaluateString(const KIT_StringRef &name, double time, int thread,
                                      KIT_String &value, bool &timeDependent)
{
    const NOD_SnapshotComponent found = myLayout->findChannel(name.view());
    if (found.parm >= 0) {
        NOD_SnapshotRead(*this, found, time, thread, timeDependent).text(value);
        return true;
    }
    const TRK_ChannelPicture *const orphan = findOrphan(name);
    if (orphan) {
        orphan->get().evaluateString(&myCollection, time, thread, value, timeDependent);
    }
    return orphan != nullptr;
}
