// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/logging.h>

#include "support/captured_records.h"
#include "support/captured_stream.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <iomanip>
#include <iostream>
#include <locale>
#include <optional>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace Tovrin::Parser::Logging;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::CapturedStream;
using Tovrin::Testing::TempTree;
using Records = std::vector<CapturedRecords::Record>;

// A configuration for one test, outside the registry, that lets every level of the table through.
std::shared_ptr<LoggerConfig> makeConfig(LoggerConfig::Target target = LoggerConfig::Systemd)
{
    const auto config = std::make_shared<LoggerConfig>("test.logger", LoggerConfig::LogDebug);
    config->setTarget(target);
    return config;
}

std::shared_ptr<LoggerConfig> makeFileConfig(const std::string &path)
{
    const auto config = makeConfig();
    EXPECT_TRUE(config->setTarget(path)) << path;
    return config;
}

// ---- Levels ---------------------------------------------------------------------------------------------------------

struct LevelRow {
    Logger (*log)(const std::shared_ptr<LoggerConfig> &);
    LoggerConfig::Level level;
    int value;
    const char *word;
    int priority;
};

const LevelRow levelRows[] = {
    {logCritical, LoggerConfig::LogCritical, 0, "CRITICAL", 2}, {logError, LoggerConfig::LogError, 1, "ERROR", 3},
    {logWarning, LoggerConfig::LogWarning, 2, "WARNING", 4},    {logInfo, LoggerConfig::LogInfo, 3, "INFO", 6},
    {logDebug, LoggerConfig::LogDebug, 4, "DEBUG", 7},
};

TEST(Logger, BeginsRecordsAtTheLevelOfTheFunction)
{
    for (const auto &row : levelRows) {
        EXPECT_EQ(row.log(nullptr).level(), row.level) << row.word;
        EXPECT_EQ(static_cast<int>(row.level), row.value) << row.word;
    }
}

TEST(Logger, WritesTheLevelWordOnStreams)
{
    const auto config = makeConfig(LoggerConfig::Stderr);
    for (const auto &row : levelRows) {
        const CapturedStream err(std::cerr);
        row.log(config) << "text";
        EXPECT_EQ(err.text(), row.word + std::string(": text\n"));
    }
}

TEST(Logger, SendsTheMessageAloneToTheJournalAtTheSyslogPriority)
{
    const auto config = makeConfig();
    for (const auto &row : levelRows) {
        const CapturedRecords records;
        row.log(config) << "text";
        EXPECT_EQ(records.all(), (Records{{row.priority, "text"}})) << row.word;
    }
}

TEST(Logger, TakesLevelsOutsideTheTableForTheNearest)
{
    const auto config = makeConfig();
    for (const auto &[level, word, priority] : {std::tuple{5, "DEBUG", 7}, {1000, "DEBUG", 7}, {-1, "CRITICAL", 2}}) {
        const auto outside = static_cast<LoggerConfig::Level>(level);
        const CapturedRecords records;
        const CapturedStream err(std::cerr);
        config->setLevel(outside);
        config->setTarget(LoggerConfig::Systemd);
        Logger(config.get(), outside) << "text";
        config->setTarget(LoggerConfig::Stderr);
        Logger(config.get(), outside) << "text";
        EXPECT_EQ(records.all(), (Records{{priority, "text"}})) << level;
        EXPECT_EQ(err.text(), word + std::string(": text\n")) << level;
    }
}

TEST(Logger, WritesRecordsOfTheConfiguredLevelAndBelow)
{
    const auto config = makeConfig();
    for (const auto &configured : levelRows) {
        for (const auto &row : levelRows) {
            const CapturedRecords records;
            config->setLevel(configured.level);
            row.log(config) << "text";
            EXPECT_EQ(!records.empty(), row.value <= configured.value) << row.word << " at " << configured.word;
        }
    }
}

TEST(Logger, DecidesWhenTheRecordBeginsWhetherItIsWritten)
{
    const CapturedRecords records;
    const auto config = makeConfig();
    {
        Logger enabled(config.get(), LoggerConfig::LogError);
        config->setLevel(LoggerConfig::LogCritical);
        Logger disabled(config.get(), LoggerConfig::LogError);
        config->setLevel(LoggerConfig::LogDebug);
        enabled << "begun while enabled";
        disabled << "begun while disabled";
    }
    EXPECT_EQ(records.errors(), std::vector<std::string>{"begun while enabled"});
}

TEST(Logger, WritesNothingWithoutAConfiguration)
{
    const CapturedRecords records;
    const CapturedStream out(std::cout), err(std::cerr);
    logError(nullptr) << "text";
    Logger(nullptr, LoggerConfig::LogCritical) << "text";
    EXPECT_TRUE(records.empty());
    EXPECT_EQ(out.text() + err.text(), "");
}

// ---- Parts ----------------------------------------------------------------------------------------------------------

TEST(Logger, JoinsPartsWithoutSeparator)
{
    const CapturedRecords records;
    const CapturedStream err(std::cerr);
    for (const auto target : {LoggerConfig::Systemd, LoggerConfig::Stderr})
        logError(makeConfig(target)) << "a" << 'b' << std::string("c");
    EXPECT_EQ(records.all(), (Records{{3, "abc"}}));
    EXPECT_EQ(err.text(), "ERROR: abc\n");
}

TEST(Logger, CopiesAConstantTemporary)
{
    const CapturedRecords records;
    const std::string text = "text";
    logError(makeConfig()) << std::move(text) << static_cast<const std::string &&>(text);
    EXPECT_EQ(records.errors(), std::vector<std::string>{"texttext"});
    EXPECT_EQ(text, "text");
}

TEST(Logger, WritesANullTextAsNull)
{
    const CapturedRecords records;
    const char *const missing = nullptr;
    logError(makeConfig()) << "<" << missing << ">";
    EXPECT_EQ(records.errors(), std::vector<std::string>{"<(null)>"});
}

TEST(Logger, WritesANumberAsOneRawByteWithoutTypes)
{
    const CapturedRecords records;
    logError(makeConfig()) << "line " << 65;
    logError(makeConfig()) << 7;
    EXPECT_EQ(records.errors(), (std::vector<std::string>{"line A", "\a"}));
}

TEST(Logger, WritesNothingForARecordWithoutParts)
{
    const TempTree tree;
    const CapturedRecords records;
    const CapturedStream out(std::cout), err(std::cerr);
    for (const auto target : {LoggerConfig::Systemd, LoggerConfig::Stdout, LoggerConfig::Stderr})
        logError(makeConfig(target));
    logError(makeFileConfig(tree.path("log")));
    EXPECT_TRUE(records.empty());
    EXPECT_EQ(out.text() + err.text() + tree.read("log"), "");
}

TEST(Logger, WritesARecordWhoseOnlyPartIsEmpty)
{
    const CapturedRecords records;
    const CapturedStream err(std::cerr);
    logError(makeConfig()) << "";
    logError(makeConfig(LoggerConfig::Stderr)) << std::string();
    EXPECT_EQ(records.all(), (Records{{3, ""}}));
    EXPECT_EQ(err.text(), "ERROR: \n");
}

TEST(Logger, DoesNotTakeTheTextForAFormat)
{
    const CapturedRecords records;
    logError(makeConfig()) << "100 %s %n %%";
    EXPECT_EQ(records.errors(), std::vector<std::string>{"100 %s %n %%"});
}

TEST(Logger, KeepsZeroBytesExceptInTheJournalWhichEndsThere)
{
    const CapturedRecords records;
    const CapturedStream err(std::cerr);
    for (const auto target : {LoggerConfig::Systemd, LoggerConfig::Stderr})
        logError(makeConfig(target)) << "a" << '\0' << "b";
    EXPECT_EQ(records.errors(), std::vector<std::string>{"a"});
    EXPECT_EQ(err.text(), std::string("ERROR: a\0b\n", 11));
}

// Around the sizes at which the text moves from the record itself to the heap, and there to larger blocks.
TEST(Logger, KeepsTextsOfAnyLengthWhole)
{
    const TempTree tree;
    const auto config = makeFileConfig(tree.path("log"));
    std::string expected;
    for (const std::size_t size : {0u, 1u, 100u, 187u, 188u, 189u, 190u, 191u, 192u, 378u, 379u, 1000u, 3000000u}) {
        const std::string text(size, static_cast<char>('a' + size % 26));
        logCritical(config) << text << '-' << text;
        expected += "CRITICAL: " + text + "-" + text + "\n";
    }
    EXPECT_TRUE(tree.read("log") == expected);
}

TEST(Logger, CollectsManySmallParts)
{
    const CapturedRecords records;
    std::string expected;
    {
        Logger record(makeConfig().get(), LoggerConfig::LogError);
        for (int i = 0; i < 1000; ++i) {
            record << static_cast<char>('a' + i % 26);
            expected += static_cast<char>('a' + i % 26);
        }
    }
    EXPECT_EQ(records.errors(), std::vector{expected});
}

// ---- Standard streams -----------------------------------------------------------------------------------------------

TEST(Logger, WritesToTheStreamOfTheTarget)
{
    const CapturedStream out(std::cout), err(std::cerr);
    logInfo(makeConfig(LoggerConfig::Stdout)) << "to out";
    logInfo(makeConfig(LoggerConfig::Stderr)) << "to err";
    EXPECT_EQ(out.text(), "INFO: to out\n");
    EXPECT_EQ(err.text(), "INFO: to err\n");
}

// Counts what reaches the buffer of a stream, or fails every write.
class ProbeBuffer : public std::streambuf {
public:
    explicit ProbeBuffer(bool fails) : fails_(fails) {}
    std::vector<std::string> writes;
    int flushes = 0;

protected:
    std::streamsize xsputn(const char *text, std::streamsize size) override
    {
        writes.emplace_back(text, static_cast<std::size_t>(size));
        return fails_ ? 0 : size;
    }
    int_type overflow(int_type) override { return traits_type::eof(); }
    int sync() override { return ++flushes, 0; }

private:
    bool fails_;
};

TEST(Logger, WritesALineInOnePieceAndFlushesIt)
{
    const CapturedStream restored(std::cout);
    ProbeBuffer buffer(false);
    std::cout.rdbuf(&buffer);
    logInfo(makeConfig(LoggerConfig::Stdout)) << "a"
                                              << "b";
    EXPECT_EQ(buffer.writes, std::vector<std::string>{"INFO: ab\n"});
    EXPECT_EQ(buffer.flushes, 1);
}

TEST(Logger, DropsRecordsOfAStreamInAnyErrorState)
{
    for (const auto state : {std::ios::badbit, std::ios::failbit, std::ios::eofbit}) {
        const CapturedStream err(std::cerr);
        std::cerr.setstate(state);
        logError(makeConfig(LoggerConfig::Stderr)) << "dropped";
        EXPECT_EQ(std::cerr.rdstate(), state);
        std::cerr.clear();
        logError(makeConfig(LoggerConfig::Stderr)) << "written";
        EXPECT_EQ(err.text(), "ERROR: written\n") << state;
    }
}

TEST(Logger, DropsRecordsOnceAStreamHasFailed)
{
    const CapturedStream restored(std::cerr);
    ProbeBuffer buffer(true);
    std::cerr.rdbuf(&buffer);
    logError(makeConfig(LoggerConfig::Stderr)) << "first";
    logError(makeConfig(LoggerConfig::Stderr)) << "second";
    EXPECT_EQ(buffer.writes, std::vector<std::string>{"ERROR: first\n"});
}

TEST(Logger, NeverThrowsAlthoughAStreamDoes)
{
    const CapturedStream restored(std::cerr);
    ProbeBuffer buffer(true);
    std::cerr.rdbuf(&buffer);
    std::cerr.exceptions(std::ios::badbit | std::ios::failbit);
    EXPECT_NO_THROW(logError(makeConfig(LoggerConfig::Stderr)) << "text");
    std::cerr.exceptions(std::ios::goodbit);
    EXPECT_EQ(buffer.writes.size(), 1u);
}

TEST(Logger, NeverThrowsAlthoughTheBufferOfAStreamDoes)
{
    struct : std::streambuf {
        int_type overflow(int_type) override { throw std::runtime_error("full"); }
    } buffer;
    const CapturedStream restored(std::cerr);
    std::cerr.rdbuf(&buffer);
    EXPECT_NO_THROW(logError(makeConfig(LoggerConfig::Stderr)) << "text");
    EXPECT_TRUE(std::cerr.bad());
}

TEST(Logger, LeavesTheFormatOfTheStreamAlone)
{
    const CapturedStream out(std::cout);
    std::cout << std::setw(20) << std::setfill('*');
    logInfo(makeConfig(LoggerConfig::Stdout)) << "text";
    EXPECT_EQ(std::cout.width(), 20);
    std::cout << std::setw(0) << std::setfill(' ');
    EXPECT_EQ(out.text(), "INFO: text\n");
}

class BarForNewline : public std::ctype<char> {
    char do_widen(char c) const override { return c == '\n' ? '|' : c; }
    const char *do_widen(const char *low, const char *high, char *to) const override
    {
        for (; low < high; ++low)
            *to++ = do_widen(*low);
        return high;
    }
};

TEST(Logger, WidensTheNewlineByTheLocaleOfTheStream)
{
    const CapturedStream out(std::cout);
    const std::locale former = std::cout.imbue(std::locale(std::locale::classic(), new BarForNewline));
    logInfo(makeConfig(LoggerConfig::Stdout)) << "a\nb";
    std::cout.imbue(former);
    EXPECT_EQ(out.text(), "INFO: a\nb|");
}

TEST(Logger, DropsRecordsForATargetThatDoesNotExist)
{
    const CapturedRecords records;
    const CapturedStream out(std::cout), err(std::cerr);
    for (const int target : {4, 17, -1})
        logError(makeConfig(static_cast<LoggerConfig::Target>(target))) << "text";
    EXPECT_TRUE(records.empty());
    EXPECT_EQ(out.text() + err.text(), "");
}

// ---- Files ----------------------------------------------------------------------------------------------------------

TEST(Logger, AppendsLinesToTheFile)
{
    const TempTree tree;
    const auto config = makeFileConfig(tree.path("log"));
    logError(config) << "first";
    logDebug(config) << "second";
    EXPECT_EQ(tree.read("log"), "ERROR: first\nDEBUG: second\n");
}

// More than a 32-bit offset can say.
TEST(Logger, AppendsLinesToAFileOfManyGigabytes)
{
    constexpr off64_t size = off64_t(3) << 30;
    const TempTree tree;
    const auto config = makeFileConfig(tree.path("log"));
    ASSERT_EQ(truncate64(tree.path("log").c_str(), size), 0); // takes no room on the disk
    logError(config) << "text";
    struct stat64 status;
    ASSERT_EQ(stat64(tree.path("log").c_str(), &status), 0);
    EXPECT_EQ(status.st_size, size + 12);
}

TEST(Logger, LosesNothingWhenConfigurationsShareAFile)
{
    const TempTree tree;
    const auto one = makeFileConfig(tree.path("log"));
    logError(one) << "lost to the truncation by the second";
    const auto two = makeFileConfig(tree.path("log"));
    logError(one) << "a longer line of the first";
    logError(two) << "second";
    logError(one) << "third";
    EXPECT_EQ(tree.read("log"), "ERROR: a longer line of the first\nERROR: second\nERROR: third\n");
}

// Begins a record for a file, lets `change` happen, ends the record, and returns whether anything was written.
template <typename Change>
bool writesAfter(const std::shared_ptr<LoggerConfig> &config, const TempTree &tree, Change change)
{
    const CapturedRecords records;
    const CapturedStream out(std::cout);
    {
        Logger record(config.get(), LoggerConfig::LogError);
        record << "text";
        change();
    }
    return !records.empty() || !out.text().empty() || !tree.read("log").empty() || !tree.read("other").empty();
}

TEST(Logger, DropsARecordWhoseTargetHasChanged)
{
    const TempTree tree;
    const auto config = makeConfig();
    const std::pair<const char *, std::string> targets[] = {
        {"another file", tree.path("other")},
        {"the same file again", tree.path("log")},
        {"a stream", "stdout"},
        {"the journal", "systemd"},
    };
    for (const auto &[what, target] : targets) {
        config->setTarget(tree.path("log"));
        EXPECT_FALSE(writesAfter(config, tree, [&config, &text = target] { config->setTarget(text); })) << what;
    }
    config->setTarget(tree.path("log"));
    EXPECT_TRUE(writesAfter(config, tree, [] {})) << "unchanged";
}

TEST(Logger, NeverWritesToAReusedDescriptor)
{
    const TempTree tree;
    const auto config = makeFileConfig(tree.path("log"));
    int reused = -1;
    EXPECT_FALSE(writesAfter(config, tree, [&] {
        config->setTarget(LoggerConfig::Systemd);
        reused = ::open(tree.path("other").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    }));
    EXPECT_GE(reused, 0);
    ::close(reused);
}

TEST(Logger, OutlivesItsConfiguration)
{
    const TempTree tree;
    auto config = makeFileConfig(tree.path("log"));
    EXPECT_FALSE(writesAfter(config, tree, [&config] { config.reset(); }));
}

TEST(Logger, WritesToTheJournalAfterItsConfigurationIsGone)
{
    const CapturedRecords records;
    auto config = makeConfig();
    {
        Logger record(config.get(), LoggerConfig::LogError);
        config.reset();
        record << "text";
    }
    EXPECT_EQ(records.errors(), std::vector<std::string>{"text"});
}

TEST(Logger, SurvivesAFullDisk)
{
    const auto config = makeFileConfig("/dev/full");
    for (int i = 0; i < 3; ++i)
        EXPECT_NO_THROW(logError(config) << "text");
    EXPECT_EQ(config->target(), LoggerConfig::File);
}

// Makes every write beyond the size fail while in scope.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t size) : formerHandler_(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &former_);
        const rlimit limit = {size, former_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &former_);
        std::signal(SIGXFSZ, formerHandler_);
    }

private:
    rlimit former_ = {};
    void (*formerHandler_)(int);
};

TEST(Logger, DropsAllThatFollowsAFailureUntilTheTargetIsSetAgain)
{
    const TempTree tree;
    const auto config = makeFileConfig(tree.path("log"));
    logError(config) << "ok";
    {
        const FileSizeLimit limit(12);
        logError(config) << "cut off";
    }
    logError(config) << "dropped";
    EXPECT_EQ(tree.read("log"), "ERROR: ok\nER");
    config->setTarget(tree.path("log"));
    logError(config) << "back";
    EXPECT_EQ(tree.read("log"), "ERROR: back\n");
}

TEST(Logger, LeavesErrnoAsItWas)
{
    const auto config = makeFileConfig("/dev/full");
    errno = ENOTTY;
    logError(config) << "text";
    EXPECT_EQ(errno, ENOTTY);
}

// A pipe with a name, as small as it can be, that nobody reads from unless told to.
class SmallPipe {
public:
    explicit SmallPipe(const std::string &path)
    {
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        descriptor_ = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
        capacity_ = fcntl(descriptor_, F_SETPIPE_SZ, 4096);
    }
    ~SmallPipe() { ::close(descriptor_); }

    void waitUntilFull() const
    {
        for (int held = 0; held < capacity_; std::this_thread::yield())
            ioctl(descriptor_, FIONREAD, &held);
    }
    // A line, or what there is of it if nothing comes any more.
    std::string readLine() const
    {
        std::string line;
        pollfd readable = {descriptor_, POLLIN, 0};
        for (char c = 0; c != '\n' && poll(&readable, 1, 10000) == 1 && ::read(descriptor_, &c, 1) == 1;)
            line += c;
        return line;
    }

private:
    int descriptor_ = -1;
    int capacity_ = 0;
};

TEST(Logger, FinishesItsRecordBeforeTheThreadIsCancelled)
{
    const TempTree tree;
    const SmallPipe pipe(tree.path("pipe"));
    const auto config = makeFileConfig(tree.path("pipe"));
    int cancelState = -1;
    std::thread writer([&] {
        logError(config) << std::string(20000, 'x');
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState); // unwinding a thread confuses AddressSanitizer
    });
    pipe.waitUntilFull();
    pthread_cancel(writer.native_handle());
    EXPECT_EQ(pipe.readLine(), "ERROR: " + std::string(20000, 'x') + "\n");
    writer.join();
    EXPECT_EQ(cancelState, PTHREAD_CANCEL_ENABLE) << "as it was before the record";
}

// Lets a signal interrupt system calls while in scope.
class InterruptingSignal {
public:
    explicit InterruptingSignal(int number) : number_(number)
    {
        struct sigaction interrupting = {};
        interrupting.sa_handler = [](int) {}; // and no SA_RESTART
        sigaction(number_, &interrupting, &former_);
    }
    ~InterruptingSignal() { sigaction(number_, &former_, nullptr); }

private:
    int number_;
    struct sigaction former_ = {};
};

TEST(Logger, ContinuesAWriteThatASignalInterrupts)
{
    const InterruptingSignal signal(SIGUSR1);
    const TempTree tree;
    const SmallPipe pipe(tree.path("pipe"));
    const auto config = makeFileConfig(tree.path("pipe"));
    logError(config) << std::string(4096 - sizeof "ERROR: ", 'x'); // fills the pipe
    pipe.waitUntilFull();
    std::thread writer([&config] { logError(config) << std::string(20000, 'y'); });
    for (int i = 0; i < 50; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        pthread_kill(writer.native_handle(), SIGUSR1);
    }
    EXPECT_EQ(pipe.readLine(), "ERROR: " + std::string(4096 - sizeof "ERROR: ", 'x') + "\n");
    EXPECT_EQ(pipe.readLine(), "ERROR: " + std::string(20000, 'y') + "\n");
    writer.join();
}

// ---- Start of the program -------------------------------------------------------------------------------------------

const std::string libraryIdentAtStart = lConfigParser ? lConfigParser->ident() : "";
const std::shared_ptr<LoggerConfig> createdAtStart = LoggerConfig::create("test.at-start", LoggerConfig::LogInfo);

TEST(Logger, IsReadyForOtherStaticInitialisers)
{
    EXPECT_EQ(libraryIdentAtStart, "com.quenby.tovrin.lib.ConfigParser");
    EXPECT_EQ(LoggerConfig::instance("test.at-start"), createdAtStart);
}

} // namespace
