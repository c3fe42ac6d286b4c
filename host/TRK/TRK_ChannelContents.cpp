#include <TRK/TRK_ChannelContents.h>

#include <TRK/TRK_Channel.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <tuple>

/// A key with the segment that it starts.
struct TRK_ChannelContents::Key
{
    /// In: time, value, slope, acceleration; out: value, slope, acceleration.
    using Numbers = std::array<double, 7>;
    static constexpr std::size_t theNumIn = 4;

    static Numbers numbersOf(const TRK_Segment &segment)
    {
        return {segment.getStart(),          segment.getInValue(),  segment.getInSlope(),
                segment.getInAcceleration(), segment.getOutValue(), segment.getOutSlope(),
                segment.getOutAcceleration()};
    }
    bool holds(const TRK_Segment &segment) const
    {
        return hasSameBits(numbersOf(segment), std::tuple_size_v<Numbers>) &&
               language == segment.getExprLanguage() && text == segment.getExpression();
    }
    bool hasSameBits(const Numbers &others, std::size_t count) const
    {
        return std::memcmp(numbers.data(), others.data(), count * sizeof(double)) == 0;
    }
    /// What is saved of it; a curve's text is its word, however it was written.
    bool isSame(const Key &other, bool lastFlag) const
    {
        return hasSameBits(other.numbers, lastFlag ? theNumIn : std::tuple_size_v<Numbers>) &&
               language == other.language && interpolator == other.interpolator &&
               (interpolator != TRK_INTERP_EXPRESSION || text == other.text);
    }

    Numbers numbers;
    KIT_StringHolder text;
    TRK_ExprLanguage language;
    TRK_Interpolator interpolator;
};

struct TRK_ChannelContents::Run
{
    bool holds(const TRK_Channel &channel, std::size_t first) const
    {
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (!keys[i].holds(*channel.getSegment(int(first + i)))) {
                return false;
            }
        }
        return true;
    }
    std::int64_t getMemoryUsage() const
    {
        auto bytes = std::int64_t(sizeof(*this) + keys.capacity() * sizeof(Key));
        for (std::size_t i = 0; i < keys.size(); ++i) {
            const bool ownFlag = i == 0 || keys[i].text.c_str() != keys[i - 1].text.c_str();
            bytes += ownFlag ? keys[i].text.getMemoryUsage(false) : 0;
        }
        return bytes;
    }

    std::vector<Key> keys;
    mutable const TRK_ChannelContents *counted = nullptr; ///< for whom
};

/// Goes through the keys of all runs.
class TRK_ChannelContents::Reading
{
public:
    explicit Reading(const TRK_ChannelContents &contents) : myRuns(contents.myRuns) {}

    const Key &key() const { return run().keys[myKey]; }
    const Run &run() const { return *myRuns[myRun]; }
    bool isAtStart() const { return myKey == 0; }
    void next()
    {
        if (++myKey == run().keys.size()) {
            skipRun();
        }
    }
    void skipRun()
    {
        ++myRun;
        myKey = 0;
    }

private:
    const std::vector<std::shared_ptr<const Run>> &myRuns;
    std::size_t myRun = 0;
    std::size_t myKey = 0;
};

// ---------------------------------------------------------------- //
// Taking
// ---------------------------------------------------------------- //

TRK_ChannelContents::TRK_ChannelContents(const TRK_Channel &channel,
                                         const TRK_ChannelContents *former)
    : myDefault(channel.getDefault()), myPendingTime(channel.getPendingTime()),
      myDefaultText(channel.getDefaultString().nonNullStr()),
      myDefaultLanguage(channel.getDefaultLanguage()), myPendingFlag(channel.getPendingFlag()),
      myLockFlag(channel.getLocked()), myScopeFlag(channel.getScope())
{
    takeKeys(channel, former);
}

TRK_ChannelContents::~TRK_ChannelContents()
{
    for (const std::shared_ptr<const Run> &run : myRuns) {
        run->counted = run->counted == this ? nullptr : run->counted;
    }
}

void TRK_ChannelContents::takeKeys(const TRK_Channel &channel, const TRK_ChannelContents *former)
{
    constexpr std::size_t theFew = 8; // keys that are worth no run of their own
    static const std::vector<std::shared_ptr<const Run>> theNone;
    const auto &runs = former ? former->myRuns : theNone;
    myNumKeys = std::size_t(channel.getNSegments());
    std::size_t front = 0; // runs, and the keys that they have
    std::size_t first = 0;
    while (front < runs.size() && runs[front]->keys.size() <= myNumKeys - first &&
           runs[front]->holds(channel, first)) {
        first += runs[front++]->keys.size();
    }
    std::size_t back = runs.size();
    std::size_t end = myNumKeys;
    while (back > front && runs[back - 1]->keys.size() <= end - first &&
           runs[back - 1]->holds(channel, end - runs[back - 1]->keys.size())) {
        end -= runs[--back]->keys.size();
    }
    if (end > first && end - first < theFew && front > 0) {
        first -= runs[--front]->keys.size();
    }
    myRuns.assign(runs.begin(), runs.begin() + std::ptrdiff_t(front));
    addKeys(channel, first, end);
    myRuns.insert(myRuns.end(), runs.begin() + std::ptrdiff_t(back), runs.end());
    mySharedFlag = former && first == end && isSame(*former);
}

/// In runs of about the same length.
void TRK_ChannelContents::addKeys(const TRK_Channel &channel, std::size_t first, std::size_t end)
{
    constexpr std::size_t theLongest = 32;
    for (std::size_t rest = (end - first + theLongest - 1) / theLongest; rest > 0; --rest) {
        const auto run = std::make_shared<Run>();
        run->keys.reserve((end - first + rest - 1) / rest);
        for (; run->keys.size() < run->keys.capacity() && first < end; ++first) {
            const TRK_Segment &segment = *channel.getSegment(int(first));
            const char *const text = segment.getExpression();
            // Mostly the same curve all along.
            const bool sameFlag = !run->keys.empty() && run->keys.back().text == text;
            run->keys.push_back({Key::numbersOf(segment),
                                 sameFlag ? run->keys.back().text : KIT_StringHolder(text),
                                 segment.getExprLanguage(), segment.getInterpolator()});
        }
        myRuns.push_back(run);
    }
}

// ---------------------------------------------------------------- //
// Restoring and comparing
// ---------------------------------------------------------------- //

void TRK_ChannelContents::restore(TRK_Channel &channel) const
{
    std::vector<double> times;
    std::vector<TRK_Segment> segments;
    times.reserve(myNumKeys);
    segments.reserve(myNumKeys);
    Reading reading(*this);
    for (std::size_t i = 0; i < myNumKeys; ++i, reading.next()) {
        const Key &key = reading.key();
        const double start = key.numbers[0];
        if (i > 0) {
            segments.back().myEnd = start;
        }
        TRK_Segment segment(nullptr, start, std::numeric_limits<double>::infinity());
        std::tie(segment.myInValue, segment.myInSlope, segment.myInAccel, segment.myOutValue,
                 segment.myOutSlope, segment.myOutAccel) =
            std::tie(key.numbers[1], key.numbers[2], key.numbers[3], key.numbers[4], key.numbers[5],
                     key.numbers[6]);
        segment.myText.harden(key.text.nonNullStr());
        segment.myLanguage = key.language;
        segment.myInterpolator = key.interpolator;
        segment.myChannel = &channel;
        times.push_back(start);
        segments.push_back(static_cast<TRK_Segment &&>(segment));
    }
    channel.setDefaultString(myDefaultText.nonNullStr(), myDefaultLanguage);
    channel.myTimes.swap(times);
    channel.mySegments.swap(segments);
    channel.myDefault = myDefault;
    channel.myPendingTime = myPendingTime;
    channel.myPendingFlag = myPendingFlag;
    channel.setLocked(myLockFlag);
    channel.setScope(myScopeFlag);
    channel.updateTimeFlag();
    channel.tellTextsChanged();
}

bool TRK_ChannelContents::isSame(const TRK_ChannelContents &other) const
{
    const auto isSameNumber = [](double a, double b) {
        return std::memcmp(&a, &b, sizeof(double)) == 0;
    };
    if (myNumKeys != other.myNumKeys || !isSameNumber(myDefault, other.myDefault) ||
        myDefaultText != other.myDefaultText || myLockFlag != other.myLockFlag ||
        (!myDefaultText.isEmpty() && myDefaultLanguage != other.myDefaultLanguage) ||
        myPendingFlag != other.myPendingFlag || myScopeFlag != other.myScopeFlag ||
        (myPendingFlag && !isSameNumber(myPendingTime, other.myPendingTime))) {
        return false;
    }
    Reading a(*this);
    Reading b(other);
    for (std::size_t i = 0; i < myNumKeys;) {
        if (a.isAtStart() && b.isAtStart() && &a.run() == &b.run()) {
            i += a.run().keys.size();
            a.skipRun();
            b.skipRun();
            continue;
        }
        if (!a.key().isSame(b.key(), ++i == myNumKeys)) {
            return false;
        }
        a.next();
        b.next();
    }
    return true;
}

int64_t TRK_ChannelContents::getMemoryUsage() const
{
    auto bytes = int64_t(sizeof(*this) + myRuns.capacity() * sizeof(myRuns[0])) +
                 myDefaultText.getMemoryUsage(false);
    for (const std::shared_ptr<const Run> &run : myRuns) {
        run->counted = run->counted ? run->counted : this;
        bytes += run->counted == this ? run->getMemoryUsage() : 0;
    }
    return bytes;
}
