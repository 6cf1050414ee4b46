// The mirror as the entry uses it, each case in a fresh process so that the environment switch
// and DirectFB's start-up are those of a real run.
#include "support/RunProcess.h"

#include <gtest/gtest.h>

using KeloTest::binPath;
using KeloTest::runProcess;

namespace {

KeloTest::ProcessResult runEntry(const std::vector<std::string>& env,
                                 const std::string& mode = "entry")
{
    std::vector<std::string> all = {"DFBARGS", "SDL_RENDER_DRIVER=software"};
    all.insert(all.end(), env.begin(), env.end());
    return runProcess(binPath("mirror_entry_probe"), {mode}, "", all);
}

} // namespace

TEST(MirrorEntry, RunsOnlyWhenRequestedAndTheClientRunsEitherWay)
{
    auto mirrored = runEntry({"KELO_MIRROR=1", "SDL_VIDEODRIVER=dummy"});
    EXPECT_EQ(mirrored.exitStatus, 0) << mirrored.err;
    EXPECT_EQ(mirrored.out, "mirror=1\nupdates=3\ndone\n");
    // The offscreen driver loads the GL stack and unloads it at the end, which leaves leaks the
    // leak checker can no longer attribute to a library; only the run itself is checked there.
    auto offscreen =
        runEntry({"KELO_MIRROR=1", "SDL_VIDEODRIVER=offscreen", "ASAN_OPTIONS=detect_leaks=0"});
    EXPECT_EQ(offscreen.exitStatus, 0) << offscreen.err;
    EXPECT_EQ(offscreen.out, "mirror=1\nupdates=3\ndone\n");

    for (const char* off : {"KELO_MIRROR", "KELO_MIRROR=0", "KELO_MIRROR=yes"}) {
        auto plain = runEntry({off, "SDL_VIDEODRIVER=dummy"});
        EXPECT_EQ(plain.exitStatus, 0) << off << plain.err;
        EXPECT_EQ(plain.out, "mirror=0\nupdates=3\ndone\n") << off;
    }

    // A desktop without a display: the mirror fails, the client does not.
    auto noDisplay =
        runEntry({"KELO_MIRROR=1", "SDL_VIDEODRIVER=x11", "DISPLAY", "WAYLAND_DISPLAY"});
    EXPECT_EQ(noDisplay.exitStatus, 0) << noDisplay.err;
    EXPECT_EQ(noDisplay.out, "mirror=0\nupdates=3\ndone\n");
}

TEST(MirrorEntry, RefusesToStartWithoutDirectFB)
{
    auto result = runEntry({"SDL_VIDEODRIVER=dummy"}, "nodfb");
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out, "started=0\n");
}
