// Messages, interrupts, threads, environment, checksums and files.
#include "host/ut/UT_CRC.h"
#include "host/ut/UT_EnvControl.h"
#include "host/ut/UT_ErrorLog.h"
#include "host/ut/UT_Interrupt.h"
#include "host/ut/UT_Lock.h"
#include "host/ut/UT_PathSearch.h"
#include "host/ut/UT_RandomSequence.h"
#include "host/ut/UT_Thread.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include <gtest/gtest.h>

namespace {

int indexOnNewThread() {
    int index = 0;
    std::thread([&] { index = UT_Thread::getMySequentialThreadIndex(); }).join();
    return index;
}

} // namespace

TEST(UT_ErrorList, KeepsEachMessageOnceInOrder) {
    UT_ErrorList list;
    for (int round = 0; round < 3; ++round) {
        list.add({"FLX", 4, UT_ERROR_WARNING, "a"});
        list.add({"FLX", 4, UT_ERROR_ABORT, "a"});
        list.add({"OP", 4, UT_ERROR_WARNING, "a"});
        list.add({"FLX", 5, UT_ERROR_WARNING, "a"});
        list.add({"FLX", 4, UT_ERROR_WARNING, "b"});
    }
    ASSERT_EQ(list.size(), 5u);
    EXPECT_EQ(list[1].severity, UT_ERROR_ABORT);
    EXPECT_EQ(list[4].text, "b");
    EXPECT_EQ(list.severity(), UT_ERROR_ABORT);

    UT_ErrorList other;
    other.add({"FLX", 9, UT_ERROR_FATAL, ""});
    other.add(list[4]);
    list.steal(other);
    EXPECT_TRUE(other.empty() && other.severity() == UT_ERROR_NONE);
    EXPECT_EQ(list.size(), 6u);
    EXPECT_EQ(list.severity(), UT_ERROR_FATAL);
    list.steal(list);
    EXPECT_EQ(list.size(), 6u);
    list.clear();
    list.add({"FLX", 4, UT_ERROR_MESSAGE, "a"}); // what was cleared may be posted again
    EXPECT_EQ(list.severity(), UT_ERROR_MESSAGE);
    for (int i = 0; i < 2000; ++i) list.add({"FLX", 4, UT_ERROR_WARNING, std::to_string(i)});
    list.add({"FLX", 4, UT_ERROR_FATAL, "last"});
    EXPECT_EQ(list.size(), 1000u);
    EXPECT_EQ(list.severity(), UT_ERROR_FATAL); // of one that is not kept
}

TEST(UT_ErrorList, EachThreadPostsToItsOwn) {
    UTglobalErrors().clear();
    UTaddWarning("FLX", 8, nullptr);
    std::thread([] {
        UTaddFatal("OP", 1, "elsewhere");
        EXPECT_EQ(UTglobalErrors().size(), 1u);
    }).join();
    ASSERT_EQ(UTglobalErrors().size(), 1u);
    EXPECT_EQ(UTglobalErrors()[0], (UT_Error{"FLX", 8, UT_ERROR_WARNING, ""}));
    UTglobalErrors().clear();
}

TEST(UT_Interrupt, ScopesNestAndAreRefused) {
    UT_Interrupt& interrupt = *UTgetInterrupt();
    interrupt.clear();
    {
        UT_ProgressScope outer("Cooking"), inner("Birthing particles");
        EXPECT_TRUE(outer && inner && !inner.stopped(130));
        EXPECT_EQ(interrupt.percent(), 100);
        EXPECT_STREQ(interrupt.label(), "Birthing particles");
        interrupt.refuseStart(true);
        EXPECT_FALSE(UT_ProgressScope("More"));
        EXPECT_EQ(interrupt.depth(), 2);
    }
    EXPECT_EQ(interrupt.depth(), 0);
    interrupt.clear();
    interrupt.fireAtPoll(3);
    for (const int expected : {0, 0, 1, 1}) EXPECT_EQ(interrupt.opInterrupt(), expected);
    EXPECT_EQ(interrupt.opStart("late"), 0);
    interrupt.clear();
    for (int i = 0; i < 10; ++i) EXPECT_EQ(interrupt.opInterrupt(), 0);
}

TEST(UT_Thread, IndicesAreSmallAndComeBack) {
    const int mine = UT_Thread::getMySequentialThreadIndex(), other = indexOnNewThread();
    EXPECT_NE(other, mine);
    EXPECT_EQ(indexOnNewThread(), other);
    std::set<int> together;
    UT_Lock lock;
    std::atomic<int> arrived{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 20; ++i)
        threads.emplace_back([&] {
            {
                UT_AutoLock held(lock);
                EXPECT_TRUE(together.insert(UT_Thread::getMySequentialThreadIndex()).second);
            }
            for (++arrived; arrived < 20;) std::this_thread::yield(); // all alive at once
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(together.count(mine), 0u);
    EXPECT_EQ(*together.rbegin(), 21); // with this thread's, 1 to 21 without a gap
}

TEST(UT_EnvControl, ReadsSwitchFlags) {
    for (const auto& [text, value] :
         {std::pair{"5", 5}, {"-3", -3}, {"", 0}, {"5x", 0}, {" 5", 0}, {"99999999999", 0}}) {
        setenv("FLX_SWITCH_FLAGS", text, 1);
        EXPECT_EQ(UT_EnvControl::getInt(113), value) << "\"" << text << "\"";
    }
    unsetenv("FLX_SWITCH_FLAGS");
    EXPECT_EQ(UT_EnvControl::getInt(113), 0);
    UT_EnvControl::setInt(113, 2);
    EXPECT_EQ(UT_EnvControl::getInt(113), 2);
    UT_EnvControl::resetInt(113);
    EXPECT_EQ(UT_EnvControl::getInt(113), 0);
}

TEST(UT_CRC, KnownChecksums) {
    const std::string text = "The quick brown fox jumps over the lazy dog";
    for (size_t cut = 0; cut <= text.size(); ++cut) {
        unsigned crc = 0;
        UT_CRC::updateCRC(crc, text.data(), cut);
        UT_CRC::updateCRC(crc, text.data() + cut, text.size() - cut);
        EXPECT_EQ(crc, 0x414fa339u) << "cut at " << cut;
    }
}

TEST(UT_RandomSequence, EvenAndInRange) {
    UT_RandomSequence a(17, 7);
    int counts[7] = {};
    for (int i = 0; i < 70000; ++i) {
        const int v = a.next();
        ASSERT_TRUE(v >= 0 && v < 7);
        ++counts[v];
    }
    for (int n : counts) EXPECT_NEAR(n, 10000, 500);
    a.construct(17, 1);
    EXPECT_EQ(a.next(), 0);
    a.construct(17, 0);
    EXPECT_EQ(a.next(), -1);
    // The published first outputs of this generator from state 0, upper halves, over the full range.
    UT_RandomSequence full(0, 1 << 30);
    for (uint32_t half : {0xe220a839u, 0x6e789e6au, 0x06c45d18u}) EXPECT_EQ(full.next(), int(half >> 2));
}

TEST(UT_PathSearch, FirstDirectoryWins) {
    namespace fs = std::filesystem;
    const fs::path root = fs::path(testing::TempDir()) / "ut_path_search";
    fs::remove_all(root);
    fs::create_directories(root / "a" / "folder");
    fs::create_directories(root / "b" / "folder2");
    std::ofstream(root / "b" / "x.lst") << "b";
    std::ofstream(root / "b" / "folder") << "a file by that name";
    setenv("FLX_PATH", ((root / "a").string() + "::" + (root / "b").string()).c_str(), 1);
    const auto find = [](const char* file) {
        UT_String found("untouched");
        const bool there = UT_PathSearch::kestrelFindFile(found, file);
        EXPECT_EQ(there, found != "untouched");
        return fs::path(found.c_str());
    };
    for (const char* none : {"nowhere.lst", "", "folder2", static_cast<const char*>(nullptr)})
        EXPECT_EQ(find(none), "untouched"); // folder2 is no file
    EXPECT_EQ(find("x.lst"), root / "b" / "x.lst");
    EXPECT_EQ(find("folder"), root / "b" / "folder"); // the directory of that name is passed over
    std::ofstream(root / "a" / "x.lst") << "a";
    EXPECT_EQ(find("x.lst"), root / "a" / "x.lst");
    EXPECT_EQ(find((root / "b" / "x.lst").c_str()), root / "b" / "x.lst");
    unsetenv("FLX_PATH");
    EXPECT_EQ(find("x.lst"), "untouched");
    fs::remove_all(root);
}
