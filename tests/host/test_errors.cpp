// Error managers, scopes, the message catalogue and the expression error numbers.

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_Nearest.h>
#include <KIT/KIT_String.h>

#include <gtest/gtest.h>

#include <malloc.h>

#include <map>
#include <string>
#include <thread>

namespace
{

std::string messages(const KIT_ErrorManager &manager, KIT_ErrorSeverity minimum = KIT_ERROR_MESSAGE,
                     bool withCategory = true)
{
    KIT_String text;
    manager.getErrorMessages(text, minimum, withCategory);
    return text.nonNullStr();
}

/// The codes of the list in order, as "2 3 9".
std::string codes(const KIT_ErrorManager &manager)
{
    std::string text;
    for (int64_t i = 0; i < manager.entries(); ++i) {
        text += (i ? " " : "") + std::to_string(manager.getError(i).code);
    }
    return text;
}

} // namespace

TEST(Errors, MessagesAreReadableLines)
{
    KIT_ErrorManager::Scope scope(BASgetSTID());
    KITaddWarning("ZEL", 4, "tx");
    KITaddError("ZEL", 9, "(");
    KITaddFatal("ZEL", 12);
    KITaddWarning("ZEL", 13);
    KITaddCommonWarning(KIT_COMMON_UNKNOWN_PACKET, "Float Parameter Load");
    KITaddMessage("Elsewhere", 1, "as it stands");

    const KIT_ErrorManager &manager = KITgetErrorManager();
    EXPECT_EQ(messages(manager), "Warning (ZEL 4): The channel was not found: tx\n"
                                 "Error (ZEL 9): An expected token is missing: (\n"
                                 "Fatal error (ZEL 12): A parameter cannot be copied from nothing\n"
                                 "Warning (ZEL 13): The data is newer than this library\n"
                                 "Warning (Common 8): An unknown packet was skipped: "
                                 "Float Parameter Load\n"
                                 "Message (Elsewhere 1): as it stands\n");
    EXPECT_EQ(messages(manager, KIT_ERROR_ABORT, false),
              "Error: An expected token is missing: (\n"
              "Fatal error: A parameter cannot be copied from nothing\n");
    KIT_String text("old");
    EXPECT_EQ(KIT_ErrorManager().getErrorMessages(text), 0);
    EXPECT_STREQ(text.nonNullStr(), "");
}

TEST(Errors, ScopesNestAndDropWhatIsNotStolen)
{
    KIT_ErrorManager &before = KITgetErrorManager();
    const KIT_ErrorSeverity severityBefore = KITgetErrorSeverity();
    {
        KIT_ErrorManager::Scope outer(BASgetSTID());
        EXPECT_EQ(&outer.getOuterManager(), &before);
        KITaddWarning("ZEL", 2);
        {
            KIT_ErrorManager::Scope inner(BASgetSTID());
            EXPECT_EQ(&KITgetErrorManager(), &inner.getManager());
            EXPECT_EQ(&inner.getOuterManager(), &outer.getManager());
            EXPECT_EQ(KITgetErrorSeverity(), KIT_ERROR_NONE);
            KITaddError("ZEL", 9);
            EXPECT_EQ(KITgetErrorSeverity(), KIT_ERROR_ABORT);
        }
        EXPECT_EQ(KITgetErrorSeverity(), KIT_ERROR_WARNING);
        EXPECT_EQ(codes(outer.getManager()), "2");
        {
            KIT_ErrorManager::Scope inner(BASgetSTID());
            KITaddError("ZEL", 9, "kept");
            inner.getOuterManager().stealErrors(inner.getManager());
            EXPECT_EQ(inner.getManager().entries(), 0);
            EXPECT_EQ(KITgetErrorSeverity(), KIT_ERROR_NONE);
        }
        EXPECT_EQ(codes(outer.getManager()), "2 9");
        EXPECT_EQ(KITgetErrorSeverity(), KIT_ERROR_ABORT);
        outer.getManager().clearAndDestroyErrors();
        EXPECT_EQ(KITgetErrorSeverity(), KIT_ERROR_NONE);
    }
    EXPECT_EQ(&KITgetErrorManager(), &before);
    EXPECT_EQ(KITgetErrorSeverity(), severityBefore);
}

TEST(Errors, ADiscardingScopeKeepsNothing)
{
    KIT_ErrorManager::Scope outer(BASgetSTID());
    {
        KIT_ErrorManager::Scope blocked(BASgetSTID());
        blocked.setFlags(blocked.getFlags() | KIT_ErrorManager::theDiscardFlag);
        KITaddFatal("ZEL", 12);
        KITaddCommonError(KIT_COMMON_CUT_PACKET);
        EXPECT_EQ(KITgetErrorSeverity(), KIT_ERROR_NONE);

        // A nested scope reports as usual, and passes nothing on.
        KIT_ErrorManager::Scope inner(BASgetSTID());
        KITaddError("ZEL", 9);
        EXPECT_EQ(KITgetErrorSeverity(), KIT_ERROR_ABORT);
        blocked.getManager().stealErrors(inner.getManager());
        EXPECT_EQ(blocked.getManager().entries(), 0);
        EXPECT_EQ(blocked.getManager().getSeverity(), KIT_ERROR_NONE);
        EXPECT_EQ(inner.getManager().entries(), 0);
    }
    EXPECT_EQ(outer.getManager().entries(), 0);
}

TEST(Errors, StealingTakesARangeAndASeverity)
{
    struct Case
    {
        int first, last;
        KIT_ErrorSeverity minimum;
        bool copy;
        const char *taken, *left;
        KIT_ErrorSeverity takenSeverity, leftSeverity;
    };
    // The list is: 1 message, 2 warning, 3 error, 4 warning.
    const Case cases[] = {
        {0, -1, KIT_ERROR_NONE, false, "90 1 2 3 4", "", KIT_ERROR_ABORT, KIT_ERROR_NONE},
        {0, -1, KIT_ERROR_NONE, true, "90 1 2 3 4", "1 2 3 4", KIT_ERROR_ABORT, KIT_ERROR_ABORT},
        {1, 2, KIT_ERROR_NONE, false, "90 2 3", "1 4", KIT_ERROR_ABORT, KIT_ERROR_WARNING},
        {0, -1, KIT_ERROR_WARNING, false, "90 2 3 4", "1", KIT_ERROR_ABORT, KIT_ERROR_MESSAGE},
        {3, 100, KIT_ERROR_NONE, false, "90 4", "1 2 3", KIT_ERROR_WARNING, KIT_ERROR_ABORT},
        {2, 1, KIT_ERROR_NONE, false, "90", "1 2 3 4", KIT_ERROR_MESSAGE, KIT_ERROR_ABORT},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.taken);
        KIT_ErrorManager from;
        KIT_ErrorManager to;
        from.commonMessage(1);
        from.commonWarning(2);
        from.commonError(3);
        from.commonWarning(4);
        to.commonMessage(90);
        to.stealErrors(from, c.first, c.last, c.minimum, c.copy);
        EXPECT_EQ(codes(to), c.taken);
        EXPECT_EQ(codes(from), c.left);
        EXPECT_EQ(to.getSeverity(), c.takenSeverity);
        EXPECT_EQ(from.getSeverity(), c.leftSeverity);
    }
    KIT_ErrorManager self;
    self.commonError(3);
    self.stealErrors(self);
    EXPECT_EQ(codes(self), "3");
}

TEST(Errors, StoredMessagesAreBounded)
{
    const int64_t most = KIT_ErrorManager::theMaxErrors;
    KIT_ErrorManager manager;
    for (int64_t i = 0; i < most; ++i) {
        manager.commonMessage(int(i));
    }
    EXPECT_EQ(manager.entries(), most);
    for (int i = 0; i < 5000; ++i) {
        manager.commonWarning(3);
    }
    manager.commonError(4);
    manager.commonMessage(5);
    ASSERT_EQ(manager.entries(), most + 1);
    EXPECT_EQ(manager.getSeverity(), KIT_ERROR_ABORT);
    EXPECT_EQ(messages(manager, KIT_ERROR_ABORT),
              "Error (Common 15): Further messages were dropped: 5002\n");

    // When one full list takes another, the counts add up and the severity is taken over.
    KIT_ErrorManager full;
    for (int64_t i = 0; i < most + 10; ++i) {
        full.commonMessage(1);
    }
    full.stealErrors(manager);
    EXPECT_EQ(full.entries(), most + 1);
    EXPECT_EQ(full.getError(most).text, std::to_string(10 + most + 5002));
    EXPECT_EQ(full.getSeverity(), KIT_ERROR_ABORT);
    EXPECT_EQ(manager.entries(), 0);

    manager.commonWarning(7);
    EXPECT_EQ(codes(manager), "7") << "the emptied list takes messages again";
}

static void openScopes(int depth, size_t &bytesInUse)
{
    KIT_ErrorManager::Scope scope(1);
    if (depth > 0) {
        openScopes(depth - 1, bytesInUse);
    } else {
        bytesInUse = mallinfo2().uordblks;
    }
}

TEST(Errors, OpeningScopesTakesNoMemory)
{
    // A thousand at once: more than the C library keeps ready in its caches.
    const size_t before = mallinfo2().uordblks;
    size_t inside = 0;
    openScopes(1000, inside);
    EXPECT_EQ(inside, before);
}

TEST(Errors, EachThreadHasItsOwn)
{
    KIT_ErrorManager::Scope scope(BASgetSTID());
    KITaddError("ZEL", 9);
    std::string seen;
    KIT_ErrorSeverity fresh = KIT_ERROR_FATAL;
    std::thread other([&] {
        fresh = KITgetErrorSeverity();
        KITaddWarning("ZEL", 2);
        seen = codes(KITgetErrorManager());
        EVL::theErrNo[BASgetSTID()] = EVL::EVL_CYCLE;
    });
    EVL::theErrNo[0] = EVL::EVL_SYNTAX; // below 1: the calling thread
    other.join();
    EXPECT_EQ(fresh, KIT_ERROR_NONE);
    EXPECT_EQ(seen, "2");
    EXPECT_EQ(codes(scope.getManager()), "9");
    EXPECT_EQ(EVL::theErrNo[BASgetSTID()], EVL::EVL_SYNTAX);
    EVL::theErrNo[BASgetSTID()] = EVL::EVL_OK;
}

TEST(Errors, DetailsTravelWithTheirMessages)
{
    KIT_ErrorManager::Scope outer(BASgetSTID());
    auto detail = std::make_shared<KIT_MessageDetail>();
    detail->subject = "t";
    {
        KIT_ErrorManager::Scope inner(BASgetSTID());
        inner.getManager().add("ZEL", 5, "t", KIT_ERROR_WARNING, detail);
        inner.getManager().add("ZEL", 6, "u", KIT_ERROR_WARNING);
        outer.getManager().stealErrors(inner.getManager(), 0, -1, KIT_ERROR_NONE, true);
    }
    EXPECT_EQ(codes(outer.getManager()), "5 6");
    EXPECT_EQ(outer.getManager().getError(0).detail, detail);
    EXPECT_EQ(outer.getManager().getError(1).detail, nullptr);
}

TEST(Errors, PlacesCountLinesBytesAndCharacters)
{
    const std::string text = "one\r\n\t\xc3\xa4 two\nthree";
    KIT_MessagePlace place;
    place.setFromText(text, 9, 12);
    EXPECT_EQ(place.line, 2);
    EXPECT_EQ(place.column, 5);
    EXPECT_EQ(place.character, 4);
    EXPECT_EQ(place.endColumn, 8);
    EXPECT_EQ(place.source, "\t\xc3\xa4 two");
    place.setFromText(text, 0, 1000);
    EXPECT_EQ(place.source, "one");
    EXPECT_EQ(place.endLine, 3);
    EXPECT_EQ(place.endColumn, 6);
    EXPECT_EQ(place.endOffset, int64_t(text.size()));
    place.setFromText(std::string(100000, 'x'), 50000, 50001, 1);
    EXPECT_EQ(place.line, 1);
    EXPECT_EQ(place.column, 0) << "a line that is too long has none";
    EXPECT_EQ(place.offset, 50000);
}

TEST(Errors, TheNearestWordIsOneSlipAway)
{
    const std::vector<std::string> words = {"float", "file", "string", "toggle"};
    const auto nearest = [&words](const char *word) {
        const std::string *const found = KITnearestWord(word, words);
        return found ? *found : "";
    };
    EXPECT_EQ(nearest("flaot"), "float");
    EXPECT_EQ(nearest("strin"), "string");
    EXPECT_EQ(nearest("toogle"), "toggle");
    EXPECT_EQ(nearest("wibble"), "");
    EXPECT_EQ(nearest(std::string(1000, 'f').c_str()), "");
    EXPECT_EQ(KITdidYouMean("fiel", words), "; did you mean file?");
    EXPECT_EQ(KITdidYouMean("", words), "");
}

TEST(Errors, EveryCodeHasOneSentence)
{
    std::map<std::string, int> counts;
    KITforEachMessage(
        [](const char *category, int code, const char *sentence, void *data) {
            const std::string key = std::string(category) + " " + std::to_string(code);
            const std::string text = sentence;
            EXPECT_EQ(++(*static_cast<std::map<std::string, int> *>(data))[key], 1) << key;
            const size_t place = text.find("{}");
            EXPECT_TRUE(place == std::string::npos ||
                        (place + 2 == text.size() && text.compare(place - 2, 2, ": ") == 0))
                << key << ": the place stands at the end, behind a colon";
        },
        &counts);
    EXPECT_EQ(KITgetMessageText("ZEL", 7), nullptr);
    EXPECT_EQ(KITgetMessageText(nullptr, 7), nullptr);
    EXPECT_STREQ(EVL::getErrorText(EVL::EVL_CYCLE), "The value depends on itself");
    EXPECT_STREQ(EVL::getErrorText(EVL::EVL_NO_LANGUAGE),
                 "The language of an expression is not available");
    EXPECT_STREQ(EVL::getErrorText(EVL::EVL_OK), "No error");
    EXPECT_STREQ(EVL::getErrorText(-1), EVL::getErrorText(1000));
}
