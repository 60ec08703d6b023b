// SPDX-License-Identifier: Apache-2.0
#include "line_reader.h"

#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Tovrin::Parser::LineReader;
using Tovrin::Testing::TempTree;

TEST(LineReader, ReadsLinesWithoutTheirNewlines)
{
    TempTree tree;
    LineReader reader(tree.write("f", "one\n\nthree\n"));
    EXPECT_EQ(reader.readLine(), "one");
    EXPECT_EQ(reader.readLine(), "");
    EXPECT_EQ(reader.readLine(), "three");
    EXPECT_TRUE(reader.good());
    EXPECT_FALSE(reader.metEnd());
}

TEST(LineReader, PeeksTheNextByteWithoutTakingIt)
{
    TempTree tree;
    LineReader reader(tree.write("f", "\xff\n"));
    EXPECT_EQ(reader.peek(), 0xff);
    EXPECT_EQ(reader.peek(), 0xff);
    EXPECT_EQ(reader.readLine(), "\xff");
    EXPECT_EQ(reader.peek(), -1);
    EXPECT_TRUE(reader.metEnd());
}

TEST(LineReader, IsNoLongerGoodAfterAnUnterminatedLine)
{
    TempTree tree;
    LineReader reader(tree.write("f", "a\nb"));
    reader.readLine();
    EXPECT_EQ(reader.readLine(), "b");
    EXPECT_FALSE(reader.good());
    EXPECT_TRUE(reader.metEnd());
    EXPECT_EQ(reader.readLine(), "");
}

TEST(LineReader, CannotTellThePositionOnceTheEndWasMet)
{
    TempTree tree;
    LineReader reader(tree.write("f", "abc"));
    EXPECT_EQ(reader.tell(), 0);
    reader.readLine();
    EXPECT_EQ(reader.tell(), -1);
    reader.seekEnd();
    EXPECT_EQ(reader.tell(), -1) << "asking was a failure, and failures stay";
}

TEST(LineReader, SeekingToTheEndForgetsThatItWasMet)
{
    TempTree tree;
    const auto path = tree.write("f", "abc");
    LineReader reader(path);
    reader.readLine();
    reader.seekEnd();
    EXPECT_TRUE(reader.good());
    EXPECT_EQ(reader.tell(), 3);
    std::ofstream(path, std::ios::app) << "more\n";
    EXPECT_EQ(reader.readLine(), "more");
}

TEST(LineReader, SeeksToTheEndOfAnEmptyFile)
{
    TempTree tree;
    LineReader reader(tree.write("f", ""));
    reader.seekEnd();
    EXPECT_TRUE(reader.good());
    EXPECT_EQ(reader.tell(), 0);
}

TEST(LineReader, TellsTheOffsetAcrossBuffers)
{
    TempTree tree;
    std::string text;
    for (int i = 0; i < 30'000; ++i)
        text += std::to_string(i) + '\n';
    LineReader reader(tree.write("f", text));
    std::size_t offset = 0;
    for (int i = 0; i < 30'000; ++i) {
        ASSERT_EQ(reader.tell(), static_cast<std::int64_t>(offset));
        ASSERT_EQ(reader.readLine(), std::to_string(i));
        offset += std::to_string(i).size() + 1;
    }
}

TEST(LineReader, ReadsLinesOfAnyLengthAroundTheBufferSize)
{
    TempTree tree;
    for (const auto length :
         std::vector<std::size_t>{65'534, 65'535, 65'536, 65'537, 131'071, 131'072, 131'073, 1'000'000}) {
        LineReader reader(tree.write("f", "x\n" + std::string(length, 'a') + "\ny\n"));
        EXPECT_EQ(reader.readLine(), "x");
        EXPECT_EQ(reader.readLine(), std::string(length, 'a')) << length;
        EXPECT_EQ(reader.readLine(), "y") << length;
    }
}

TEST(LineReader, SkipsLinesLikeReadingThem)
{
    TempTree tree;
    LineReader reader(tree.write("f", std::string(200'000, '#') + "\nnext\n#end"));
    reader.skipLine();
    EXPECT_EQ(reader.tell(), 200'001);
    EXPECT_EQ(reader.readLine(), "next");
    reader.skipLine();
    EXPECT_TRUE(reader.metEnd());
    reader.skipLine();
    EXPECT_EQ(reader.tell(), -1);
}

TEST(LineReader, SaysWhenTheNextLineNeedsARead)
{
    TempTree tree;
    LineReader reader(tree.write("f", "a\nbcd"));
    EXPECT_TRUE(reader.nothingBuffered());
    EXPECT_TRUE(reader.nextLineNeedsRead());
    reader.peek();
    EXPECT_FALSE(reader.nothingBuffered());
    EXPECT_FALSE(reader.nextLineNeedsRead());
    reader.readLine();
    EXPECT_TRUE(reader.nextLineNeedsRead()) << "its newline may still be in the file";
}

TEST(LineReader, HasFailedFromTheStartWithoutAFile)
{
    LineReader reader("/nonexistent/file");
    EXPECT_FALSE(reader.good());
    EXPECT_FALSE(reader.metEnd());
    EXPECT_EQ(reader.peek(), -1);
    EXPECT_EQ(reader.readLine(), "");
    reader.seekEnd();
    EXPECT_EQ(reader.tell(), -1);
}

TEST(LineReader, FailsWithoutMeetingTheEndWhenAReadFails)
{
    TempTree tree;
    LineReader reader(tree.root()); // a directory opens, but cannot be read
    EXPECT_TRUE(reader.good());
    EXPECT_EQ(reader.peek(), -1);
    EXPECT_FALSE(reader.good());
    EXPECT_FALSE(reader.metEnd());
}

// More than a 32-bit offset can say.
TEST(LineReader, OpensAFileOfManyGigabytes)
{
    constexpr off64_t size = off64_t(3) << 30;
    TempTree tree;
    const auto path = tree.write("f", "a\n");
    ASSERT_EQ(truncate64(path.c_str(), size), 0); // takes no room on the disk
    LineReader reader(path);
    EXPECT_EQ(reader.readLine(), "a");
    reader.seekEnd();
    EXPECT_EQ(reader.tell(), size);
}

TEST(LineReader, HandsOverItsBufferWithTheLinesInIt)
{
    TempTree tree;
    LineReader reader(tree.write("f", "one\ntwo\nthree\n"));
    const auto line = reader.readLine();
    const auto buffer = reader.handOverBuffer();
    EXPECT_EQ(reader.tell(), 4);
    EXPECT_EQ(reader.readLine(), "two");
    EXPECT_EQ(reader.readLine(), "three");
    EXPECT_EQ(reader.peek(), -1);
    EXPECT_EQ(line, "one");
    EXPECT_EQ(line.data(), buffer.get());
}

TEST(LineReader, HandsOverItsBufferWithALongLineBehindTheOneRead)
{
    TempTree tree;
    const std::string longLine(300 * 1024, 'x');
    LineReader reader(tree.write("f", "one\n" + longLine + "\nlast\n"));
    const auto line = reader.readLine();
    const auto buffer = reader.handOverBuffer();
    EXPECT_EQ(reader.readLine(), longLine);
    const auto longBuffer = reader.handOverBuffer();
    EXPECT_EQ(reader.readLine(), "last");
    EXPECT_EQ(line, "one");
}

TEST(LineReader, ReadsAPipeButCannotSeekInIt)
{
    TempTree tree;
    const auto path = tree.path("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::thread writer([&path] { std::ofstream(path) << "a\nb\n"; });
    LineReader reader(path);
    EXPECT_EQ(reader.readLine(), "a");
    EXPECT_EQ(reader.readLine(), "b");
    EXPECT_EQ(reader.peek(), -1);
    writer.join();
    reader.seekEnd();
    EXPECT_EQ(reader.tell(), -1);
}

std::atomic<int> signalsHandled{0};

// Handles a signal so that it interrupts system calls, while in scope.
class InterruptingSignal {
public:
    explicit InterruptingSignal(int number) : number_(number)
    {
        struct sigaction action {};
        action.sa_handler = [](int) { ++signalsHandled; };
        EXPECT_EQ(sigaction(number_, &action, &former_), 0); // without SA_RESTART
    }
    ~InterruptingSignal() { sigaction(number_, &former_, nullptr); }
    InterruptingSignal(const InterruptingSignal &) = delete;
    InterruptingSignal &operator=(const InterruptingSignal &) = delete;

private:
    int number_;
    struct sigaction former_ {};
};

void waitUntilAsleep(pid_t thread)
{
    const auto path = "/proc/self/task/" + std::to_string(thread) + "/stat";
    for (std::string state; state != "S"; std::this_thread::yield()) {
        std::ifstream file(path);
        file.ignore(1000, ')'); // the thread's number and name
        file >> state;
    }
}

TEST(LineReader, GoesOnAfterASignal)
{
    const TempTree tree;
    const auto path = tree.path("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int writingEnd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(writingEnd, 0);
    LineReader reader(path);
    const InterruptingSignal signal(SIGUSR1);
    signalsHandled = 0;
    std::thread writer([writingEnd, readingThread = pthread_self(), id = gettid()] {
        for (int sent = 1; sent <= 3; ++sent) {
            waitUntilAsleep(id);
            pthread_kill(readingThread, SIGUSR1);
            while (signalsHandled < sent)
                std::this_thread::yield();
        }
        EXPECT_EQ(write(writingEnd, "a\n", 2), 2);
    });
    EXPECT_EQ(reader.readLine(), "a");
    EXPECT_TRUE(reader.good());
    writer.join();
    EXPECT_EQ(signalsHandled, 3);
    close(writingEnd);
}

} // namespace
