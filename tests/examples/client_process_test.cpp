// kelo_client run as the device's host runs it, with kelo_host playing the host on the two
// queues of a private KELO_ROOT: the quit handshakes, the exit statuses, the lines on
// standard output in order, the signal reports, and (with strace) the size of every queue
// message.
#include "sim/KeloRoot.h"
#include "support/RunProcess.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

using KeloTest::binPath;
using KeloTest::KeloRoot;
using KeloTest::ProcessResult;
using KeloTest::readFile;
using KeloTest::runProcess;

namespace {

std::vector<std::string> splitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::stringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// `expected` appear in `lines` in this order (other lines may come between them); the
// first one missing, or "" when all are there.
std::string missingInOrder(const std::vector<std::string>& lines,
                           const std::vector<std::string>& expected)
{
    size_t at = 0;
    for (const std::string& want : expected) {
        while (at < lines.size() && lines[at] != want)
            ++at;
        if (at == lines.size())
            return want;
        ++at;
    }
    return "";
}

// A program running in the background with its output in files of the root directory.
class Background
{
public:
    Background(const KeloRoot& root, std::vector<std::string> argv,
               const std::vector<std::pair<std::string, std::string>>& env = {})
        : mOut(root.path() + "/client.out"), mErr(root.path() + "/client.err")
    {
        mPid = fork();
        if (mPid == 0) {
            int out = open(mOut.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            int err = open(mErr.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            dup2(out, 1);
            dup2(err, 2);
            setenv("KELO_ROOT", root.path().c_str(), 1);
            unsetenv("VLOGLEVEL");
            unsetenv("VLOGMULTIPLE");
            for (const auto& [name, value] : env)
                setenv(name.c_str(), value.c_str(), 1);
            std::vector<char*> args;
            for (std::string& a : argv)
                args.push_back(a.data());
            args.push_back(nullptr);
            execv(args[0], args.data());
            _exit(127);
        }
    }
    ~Background()
    {
        if (mPid > 0 && !mDone) {
            kill(mPid, SIGKILL);
            waitpid(mPid, nullptr, 0);
        }
    }

    // Waits (up to about a minute) until standard output holds `line`.
    bool awaitLine(const std::string& line)
    {
        for (int i = 0; i < 600; ++i) {
            for (const std::string& l : splitLines(readFile(mOut)))
                if (l == line)
                    return true;
            usleep(100 * 1000);
        }
        return false;
    }
    // The exit status (128 + signal when killed).
    int wait()
    {
        int status = 0;
        waitpid(mPid, &status, 0);
        mDone = true;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    void signal(int sig) { kill(mPid, sig); }
    std::string out() const { return readFile(mOut); }
    std::string err() const { return readFile(mErr); }

private:
    std::string mOut, mErr;
    pid_t mPid = -1;
    bool mDone = false;
};

ProcessResult host(const KeloRoot& root, const std::vector<std::string>& commands)
{
    std::vector<std::string> args = {"--timeout", "60"};
    args.insert(args.end(), commands.begin(), commands.end());
    return runProcess(binPath("kelo_host"), args, "", {root.env()});
}

std::vector<std::string> received(const std::string& hostOut)
{
    std::vector<std::string> lines;
    for (const std::string& l : splitLines(hostOut))
        if (l.rfind("host: recv ", 0) == 0)
            lines.push_back(l);
    return lines;
}

} // namespace

TEST(KeloClient, UninitIsAnsweredOnceThenTheClientExits)
{
    KeloRoot root;
    Background client(root, {binPath("kelo_client"), "M110", "en"});
    ProcessResult h = host(root, {"send KELO_MSG_STUB_UNINIT", "expect KELO_MSG_STUB_UNINIT_RET",
                                  "expect KELO_MSG_EXIT_SELF"});
    EXPECT_EQ(client.wait(), 0) << client.err();
    EXPECT_EQ(h.exitStatus, 0) << h.out;
    // Nothing else reached the host.
    ProcessResult after = host(root, {"nothing 0.2"});
    EXPECT_EQ(after.exitStatus, 0) << after.out;
    EXPECT_EQ(received(h.out), (std::vector<std::string>{"host: recv 4 KELO_MSG_STUB_UNINIT_RET",
                                                         "host: recv 42 KELO_MSG_EXIT_SELF"}));
    const std::vector<std::string> lines = splitLines(client.out());
    EXPECT_EQ(missingInOrder(lines,
                             {"kelo client enter main",
                              "argc is right",
                              "kelo client now is M110",
                              "[KeloStub] Calling -------> init_kelo_msg_queue",
                              "[kelo tester] init_kelo_msg_queue successful ",
                              "KeloMain: START MOVIE UI",
                              "[kelo mpbcinit] IMtkPb_Ctrl_Init",
                              "[kelo mpbcinit]IMtkPb_Ctrl_Open 1 ",
                              "[kelo mpbcinit] IMtkCfg_Init",
                              "[kelo mpbcinit] IMtkCfg_Open",
                              "[kelo mpbcinit] start dumyplay",
                              "[kelo tester] receieve IPC 3",
                              "[kelo tester] KELO_MSG_STUB_UNINIT ",
                              "[KeloStub] Calling -------> kelo_stub_send_ipc_msg, MSG ID = [4]",
                              "[kelo tester] Stopping Core...",
                              "[kelo tester] IMtkPb_Ctrl_Close successful",
                              "[kelo tester] quit kelo call copyprotectionreset",
                              "[kelo tester] IMtkCfg_Close",
                              "[kelo tester] IMtkCfg_Terminate",
                              "[kelo tester] Core stopped.",
                              "[KeloStub] Calling -------> kelo_stub_send_ipc_msg, MSG ID = [42]"}),
              "")
        << client.out();
    // One start of the core: the quit came through the poll.
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "KeloMain: START MOVIE UI"), 1);
    EXPECT_NE(client.out().find("open kelomem ok "), std::string::npos);
    // The client leaves its queues for the host; the root removes them.
    EXPECT_GE(root.queueId(1), 0);
}

TEST(KeloClient, FinalizeStopsWithoutAnswerAndHostSwitchesAreReported)
{
    KeloRoot root;
    Background client(root, {binPath("kelo_client"), "M151", "de"});
    ProcessResult h =
        host(root, {"send KELO_MSG_SS_ON", "send KELO_MSG_SS_OFF", "send KELO_MSG_DOWNLOAD_FILE",
                    "send KELO_MSG_OPEN_WIND_ID", "send KELO_MSG_STUB_INIT",
                    "send KELO_MSG_STUB_FINALIZE", "expect KELO_MSG_EXIT_SELF"});
    EXPECT_EQ(client.wait(), 0) << client.err();
    EXPECT_EQ(h.exitStatus, 0) << h.out;
    EXPECT_EQ(received(h.out), (std::vector<std::string>{"host: recv 42 KELO_MSG_EXIT_SELF"}));
    const std::vector<std::string> lines = splitLines(client.out());
    EXPECT_EQ(
        missingInOrder(
            lines, {"kelo client now is M151", "[kelo tester] receieve IPC 38",
                    "[kelo tester] KELO_MSG_SS_ON, stop recv key ", "[kelo tester] receieve IPC 39",
                    "[kelo tester] KELO_MSG_SS_ON, start recv key ",
                    "[kelo tester] receieve IPC 44", "[kelo tester] KELO_MSG_DOWNLOAD_FILE ",
                    "[kelo tester] receieve IPC 7", "[kelo tester] receieve IPC 1",
                    "[kelo tester] KELO_MSG_STUB_INIT ", "[kelo tester] receieve IPC 5",
                    "[kelo tester] KELO_MSG_STUB_FINALIZE ", "[kelo tester] Core stopped."}),
        "")
        << client.out();
    // The unlisted type 7 is printed and nothing more.
    const auto seven = std::find(lines.begin(), lines.end(), "[kelo tester] receieve IPC 7");
    ASSERT_NE(seven, lines.end());
    EXPECT_EQ(*(seven + 1), "[kelo tester] receieve IPC 1");
}

TEST(KeloClient, BadCommandLinesExitWithMinusOneAndMakeNoQueue)
{
    KeloRoot root;
    const std::string client = binPath("kelo_client");
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"M110"}, std::vector<std::string>{"M110", "en", "x"}}) {
        ProcessResult r = runProcess(client, args, "", {root.env()});
        EXPECT_EQ(r.exitStatus, 255);
        EXPECT_EQ(r.out, "kelo client enter main\nkelo client argc=" +
                             std::to_string(args.size() + 1) + "\n");
    }
    ProcessResult r = runProcess(client, {"M160", "en"}, "", {root.env()});
    EXPECT_EQ(r.exitStatus, 255);
    EXPECT_EQ(r.out, "kelo client enter main\nargc is right\nkelo client exit argv[1]=M160\n");
    r = runProcess(client, {"m110", "en"}, "", {root.env()});
    EXPECT_EQ(r.exitStatus, 255);
    EXPECT_EQ(root.queueId(1), -1);
    EXPECT_EQ(root.queueId(2), -1);
}

TEST(KeloClient, SignalsAreReportedAndTheClientCarriesOn)
{
    KeloRoot root;
    Background client(root, {binPath("kelo_client"), "M131", "en"});
    ASSERT_TRUE(client.awaitLine("[kelo mpbcinit] start dumyplay")) << client.out();
    client.signal(SIGINT);
    ASSERT_TRUE(client.awaitLine("backtrace:")) << client.out();
    client.signal(SIGTERM); // reported once; the default action comes back for the next
    ASSERT_TRUE(client.awaitLine("[kelostub]Using default signal handler.")) << client.out();
    ProcessResult h = host(root, {"send KELO_MSG_STUB_UNINIT", "expect KELO_MSG_STUB_UNINIT_RET",
                                  "expect KELO_MSG_EXIT_SELF"});
    EXPECT_EQ(client.wait(), 0) << client.out();
    EXPECT_EQ(h.exitStatus, 0) << h.out;
    const std::string out = client.out();
    EXPECT_NE(out.find("kelo client now is M131\n"), std::string::npos);
    EXPECT_NE(out.find("\n[kelostub] Unexpected signal: 2\n\n\nPid: "), std::string::npos) << out;
    EXPECT_NE(out.find("\n[kelostub]Termination signal\n\n[kelostub]Using default signal handler.\n"
                       "backtrace:\n"),
              std::string::npos)
        << out;
}

TEST(KeloClient, EveryQueueMessageCarries1048Bytes)
{
    if (access("/usr/bin/strace", X_OK) != 0)
        GTEST_SKIP() << "strace is not installed";
    KeloRoot root;
    const std::string trace = root.path() + "/trace.txt";
    Background client(root,
                      {"/usr/bin/strace", "-f", "-e", "trace=msgsnd,msgrcv", "-o", trace,
                       binPath("kelo_client"), "M120", "en"},
                      {{"ASAN_OPTIONS", "detect_leaks=0"}}); // the leak check cannot run traced
    ProcessResult h = host(root, {"send KELO_MSG_STUB_UNINIT", "expect KELO_MSG_STUB_UNINIT_RET",
                                  "expect KELO_MSG_EXIT_SELF"});
    EXPECT_EQ(client.wait(), 0) << client.err();
    EXPECT_EQ(h.exitStatus, 0) << h.out;
    int sends = 0, receives = 0;
    for (const std::string& line : splitLines(readFile(trace))) {
        const bool send = line.find("msgsnd(") != std::string::npos;
        const bool recv = line.find("msgrcv(") != std::string::npos;
        if (!send && !recv)
            continue;
        // A call another thread interrupted shows its arguments on its "<unfinished ...>"
        // line; its "resumed>" line repeats nothing of them.
        if (line.find("resumed>") != std::string::npos)
            continue;
        EXPECT_NE(line.find(", 1048, "), std::string::npos) << line;
        if (send) {
            ++sends;
            EXPECT_TRUE(line.find("{mtype=4, ") != std::string::npos ||
                        line.find("{mtype=42, ") != std::string::npos)
                << line;
        } else {
            ++receives;
            EXPECT_NE(line.find(", 0, IPC_NOWAIT"), std::string::npos) << line;
        }
    }
    EXPECT_EQ(sends, 2);    // KELO_MSG_STUB_UNINIT_RET and KELO_MSG_EXIT_SELF
    EXPECT_GE(receives, 1); // one poll a second until the message arrives
}

// The client on the device port's drivers, headless: the boot screen goes through the real
// graphics path and the screenshot command writes it when the quit message comes.
TEST(KeloClient, HeadlessRunOnThePortWritesTheBootScreenAsPng)
{
    KeloRoot root;
    const std::string shot = root.path() + "/shot.png";
    Background client(root, {binPath("kelo_client"), "M110", "en"}, {{"KELO_SCREENSHOT", shot}});
    ProcessResult h = host(root, {"send KELO_MSG_STUB_UNINIT", "expect KELO_MSG_STUB_UNINIT_RET",
                                  "expect KELO_MSG_EXIT_SELF"});
    ASSERT_EQ(client.wait(), 0) << client.err();
    EXPECT_EQ(h.exitStatus, 0) << h.out;
    EXPECT_NE(client.out().find("[kelo tester] screenshot " + shot + ": written\n"),
              std::string::npos)
        << client.out();

    EXPECT_EQ(runProcess("/usr/bin/pngcheck", {shot}).exitStatus, 0);
    EXPECT_NE(runProcess("/usr/bin/file", {"-b", shot})
                  .out.find("PNG image data, 1280 x 720, 8-bit/color RGBA, non-interlaced"),
              std::string::npos);

    // Background, the translucent panel blended over it, and one colour-key bar.
    const ProcessResult pixels = runProcess(
        "/usr/bin/python3",
        {"-c", "import sys; from PIL import Image; im = Image.open(sys.argv[1]).convert('RGBA'); "
               "print(*[' '.join(map(str, im.getpixel((x, y)))) for x, y in "
               "((10, 10), (600, 300), (330, 470))], sep='\\n')",
         shot});
    ASSERT_EQ(pixels.exitStatus, 0) << pixels.err;
    std::istringstream in(pixels.out);
    int px[3][4] = {};
    for (auto& p : px)
        in >> p[0] >> p[1] >> p[2] >> p[3];
    const int background[3] = {0x14, 0x18, 0x28};
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(px[0][c], background[c]);
        // White at alpha 0x30 over the background.
        const double blended = (255.0 * 0x30 + background[c] * (255.0 - 0x30)) / 255.0;
        EXPECT_NEAR(px[1][c], blended, 1.5) << "channel " << c;
    }
    EXPECT_EQ(px[2][0], 0xd0);
    EXPECT_EQ(px[2][1], 0x20);
    EXPECT_EQ(px[2][2], 0x20);
}
