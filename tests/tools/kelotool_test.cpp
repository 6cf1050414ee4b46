// kelotool run as a user runs it: files and standard input, exit status, both output streams.
#include "support/RunProcess.h"

#include <gtest/gtest.h>

using KeloTest::binPath;
using KeloTest::ProcessResult;
using KeloTest::runProcess;
using KeloTest::sourcePath;

namespace {

ProcessResult kelotool(const std::vector<std::string>& args, const std::string& input = "")
{
    return runProcess(binPath("kelotool"), args, input, {"VLOGLEVEL", "VLOGMULTIPLE"});
}

// Lets python's json module judge a document: prints its canonical dump, or fails.
ProcessResult pythonCanonicalJson(const std::string& document)
{
    return runProcess("/usr/bin/python3",
                      {"-c", "import json,sys; print(json.dumps(json.loads(sys.stdin.read()), "
                             "sort_keys=True))"},
                      document);
}

const char* kEntryConfigText = "\n[appData]\n"
                               "appDataPath = /misc\n"
                               "appDataSize = 2097152\n"
                               "\n[errorhandling]\n"
                               "policy = retry_quit\n"
                               "retryKeyName = OK\n"
                               "\n[locale]\n"
                               "country = auto\n"
                               "language = en\n"
                               "\n[overscan]\n"
                               "bottom = 0\n"
                               "left = 0\n"
                               "right = 0\n"
                               "top = 0\n"
                               "\n[screensaver]\n"
                               "external = true\n"
                               "\n[streaming]\n"
                               "streamingBufferPtr = 0x7f3a2c000010\n"
                               "streamingBufferSize = 25165824\n";

} // namespace

TEST(KelotoolConfig, PrintsTheEntryConfigurationInStoreOrder)
{
    ProcessResult r = kelotool({"config", sourcePath("tools/kelotool/samples/entry-config.txt")});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, kEntryConfigText);
    EXPECT_EQ(r.err, "");
}

TEST(KelotoolConfig, ReadsStandardInputAndKeepsGlobalEntriesFirst)
{
    ProcessResult r = kelotool({"config"}, "b=2\n# note\n[s]\nk =  v w \na = 1\n");
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, "b = 2\n\n[s]\na = 1\nk = v w\n");
}

TEST(KelotoolConfig, BadLineGivesTheWarningAndStatus2)
{
    ProcessResult r = kelotool({"config"}, "[misc]\nx = 1\nthis line has no equals sign\ny=2\n");
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_NE(r.err.find("trouble parsing line #3 'this line has no equals sign'"),
              std::string::npos)
        << r.err;

    r = kelotool({"config"}, "[]\n");
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("trouble parsing line #1 '[]'"), std::string::npos) << r.err;
}

TEST(KelotoolJson, WritesWhatPythonReadsBackUnchanged)
{
    std::string path = sourcePath("tools/kelotool/samples/catalog.json");
    ProcessResult r = kelotool({"json", path});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out.substr(0, 2), "{ ");

    // python has no comments: drop the comment line of the sample before letting it judge.
    ProcessResult original = runProcess(
        "/usr/bin/python3",
        {"-c", "import json,re,sys; t=re.sub(r'//[^\\n]*','',open(sys.argv[1]).read()); "
               "print(json.dumps(json.loads(t), sort_keys=True))",
         path});
    ASSERT_EQ(original.exitStatus, 0) << original.err;
    ProcessResult written = pythonCanonicalJson(r.out);
    ASSERT_EQ(written.exitStatus, 0) << written.err;
    EXPECT_EQ(written.out, original.out);

    ProcessResult tool = runProcess("/usr/bin/python3", {"-m", "json.tool"}, r.out);
    EXPECT_EQ(tool.exitStatus, 0) << tool.err;
}

TEST(KelotoolJson, ReadsStandardInputAndUsesTheWriterForm)
{
    ProcessResult r = kelotool({"json"}, "{\"b\": [1, 2.5, \"x\"], \"a\": {\"k\": \"a</b\"}}");
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, "{ \"a\" : { \"k\" : \"a\\u003C\\/b\" }, \"b\" : [ 1, 2.5, \"x\" ] }\n");
}

TEST(KelotoolJson, BadInputGivesTheParserErrorAndStatus2)
{
    const char* bad[] = {"", "{\"a\": ", "{\"a\" 1}", "{\"a\": tru}", "[1, 2]", "\"text\"",
                         "{\"a\": 1,}", "/* never closed"};
    for (const char* doc : bad) {
        ProcessResult r = kelotool({"json"}, doc);
        EXPECT_EQ(r.exitStatus, 2) << "input: " << doc;
        EXPECT_EQ(r.out, "") << "input: " << doc;
        EXPECT_EQ(r.err.rfind("kelotool json: ", 0), 0u) << "input: " << doc << " -> " << r.err;
    }
    ProcessResult nul = kelotool({"json"}, std::string("{\"a\": 1}\0x", 10));
    EXPECT_EQ(nul.exitStatus, 2);
    EXPECT_NE(nul.err.find("NUL"), std::string::npos) << nul.err;
}

TEST(Kelotool, MissingFilesAndWrongUsage)
{
    ProcessResult r = kelotool({"json", "/nonexistent/file.json"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("cannot read /nonexistent/file.json"), std::string::npos) << r.err;

    EXPECT_EQ(kelotool({}).exitStatus, 64);
    EXPECT_EQ(kelotool({"frobnicate"}).exitStatus, 64);
    EXPECT_EQ(kelotool({"config", "a", "b"}).exitStatus, 64);
    ProcessResult help = kelotool({"help"});
    EXPECT_EQ(help.exitStatus, 0);
    EXPECT_NE(help.out.find("json"), std::string::npos);
}
