// URI helpers: scheme recognition with its prefix rule, file addresses built from paths and
// read back (escapes, bad escapes with their log line, existence, the fetchable roots), and
// the path of http addresses.
#include "kapi/net/UriUtil.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <unistd.h>

using Kapi::UriUtil;

TEST(UriUtil, SchemesMatchOverTheTextsOwnLengthAndHaveNames)
{
    const std::pair<std::string, UriUtil::Scheme> cases[] = {
        {"file:///tmp/x", UriUtil::SCHEME_FILE},
        {"FiLe:///x", UriUtil::SCHEME_FILE},
        {"fil:/x", UriUtil::SCHEME_FILE},
        {"f:x", UriUtil::SCHEME_FILE},
        {"http://h/a", UriUtil::SCHEME_HTTP},
        {"ht:", UriUtil::SCHEME_HTTP},
        {"h://h", UriUtil::SCHEME_HTTP},
        {"https://h", UriUtil::SCHEME_HTTPS},
        {"HTTPS:", UriUtil::SCHEME_HTTPS},
        {"kelo:app", UriUtil::SCHEME_KELO},
        {"k:", UriUtil::SCHEME_KELO},
        {"bundle://a/b", UriUtil::SCHEME_BUNDLE},
        {"bun:", UriUtil::SCHEME_BUNDLE},
        {"ftp://h", UriUtil::SCHEME_UNKNOWN},
        {"files:", UriUtil::SCHEME_UNKNOWN},
        {"httpss:", UriUtil::SCHEME_UNKNOWN},
        {"keloo:", UriUtil::SCHEME_UNKNOWN},
        {"a:b:c", UriUtil::SCHEME_UNKNOWN},
        {std::string("fi\0e:", 5), UriUtil::SCHEME_UNKNOWN},
        {"", UriUtil::SCHEME_NONE},
        {"/tmp/x", UriUtil::SCHEME_NONE},
        {":file", UriUtil::SCHEME_NONE},
        {"file", UriUtil::SCHEME_NONE},
    };
    for (const auto& [uri, scheme] : cases)
        EXPECT_EQ(UriUtil::getScheme(uri), scheme) << uri;

    const char* const names[] = {"file", "http", "https", "kelo", "bundle"};
    for (int scheme = UriUtil::SCHEME_FILE; scheme <= UriUtil::SCHEME_BUNDLE; ++scheme)
        EXPECT_STREQ(UriUtil::schemeToString(static_cast<UriUtil::Scheme>(scheme)),
                     names[scheme - UriUtil::SCHEME_FILE]);
    for (int scheme : {int(UriUtil::SCHEME_UNKNOWN), int(UriUtil::SCHEME_NONE), 7, -1})
        EXPECT_EQ(UriUtil::schemeToString(static_cast<UriUtil::Scheme>(scheme)), nullptr);

    EXPECT_TRUE(UriUtil::isFileUri("fil:/x"));
    EXPECT_FALSE(UriUtil::isFileUri("/tmp/x"));
    EXPECT_TRUE(UriUtil::isHttpUri("HTTP://h"));
    EXPECT_FALSE(UriUtil::isHttpUri("https://h")); // https is not http here
}

TEST(UriUtil, FileAddressesEscapeEachSegment)
{
    EXPECT_EQ(UriUtil::fileUriNew("/tmp/a b/c%d"), "file:///tmp/a+b/c%25d");
    EXPECT_EQ(UriUtil::fileUriNew("/x/y+z/~q*"), "file:///x/y%2Bz/%7Eq*");
    EXPECT_EQ(UriUtil::fileUriNew("rel/x"), "file://rel/x");
    EXPECT_EQ(UriUtil::fileUriNew(""), "file://");
    EXPECT_EQ(UriUtil::fileUriNew("/"), "file:///");
    EXPECT_EQ(UriUtil::fileUriNew("a//b/"), "file://a//b/");
    EXPECT_EQ(UriUtil::fileUriNew(std::string("/n\0l\xff", 5)), "file:///n%00l%FF");

    EXPECT_EQ(UriUtil::fileUriGetFilename("file:///tmp/a+b/c%25d"), "/tmp/a b/c%d");
    EXPECT_EQ(UriUtil::fileUriGetFilename("FILE:///tmp/x"), "/tmp/x");
    EXPECT_EQ(UriUtil::fileUriGetFilename("fil:///tmp/x"), "/tmp/x");
    EXPECT_EQ(UriUtil::fileUriGetFilename("f:/tmp/x"), "/tmp/x");
    EXPECT_EQ(UriUtil::fileUriGetFilename("http:///tmp/x"), "");
    EXPECT_EQ(UriUtil::fileUriGetFilename("/tmp/x"), "");
    EXPECT_EQ(UriUtil::fileUriGetFilename("file://"), "");

    // Any path survives the trip through a file address.
    std::mt19937 random(20240607);
    for (int i = 0; i < 500; ++i) {
        std::string path(random() % 40, '\0');
        for (char& c : path)
            c = static_cast<char>(random() % 4 == 0 ? '/' : random() % 256);
        ASSERT_EQ(UriUtil::fileUriGetFilename(UriUtil::fileUriNew(path)), path);
    }
}

TEST(UriUtil, AFileAddressThatDoesNotDecodeGivesNothingAndSaysWhere)
{
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_DEBUG);
    EXPECT_EQ(UriUtil::fileUriGetFilename("file:///bad%2"), "");
    EXPECT_EQ(UriUtil::fileUriGetFilename(std::string("file:///n\0l", 11)), "");
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{
                  "misc_system.debug: UrlCodec::decode(): can't decode url '/bad%2'.Bad format "
                  "at or around character number 5",
                  "misc_system.debug: UrlCodec::decode(): Error: The string to be decoded "
                  "contains a null character at position 3"}));
    EXPECT_FALSE(UriUtil::fileUriExists("file:///bad%2"));
}

TEST(UriUtil, ExistenceAndTheFetchableRoots)
{
    char path[] = "/tmp/uriutil+test XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    close(fd);
    EXPECT_TRUE(UriUtil::fileUriExists(UriUtil::fileUriNew(path)));
    // Unescaped, the "+" reads as a blank: another file.
    EXPECT_FALSE(UriUtil::fileUriExists(std::string("file://") + path));
    unlink(path);
    EXPECT_FALSE(UriUtil::fileUriExists(UriUtil::fileUriNew(path)));
    EXPECT_FALSE(UriUtil::fileUriExists("file://"));
    EXPECT_FALSE(UriUtil::fileUriExists("/tmp"));

    EXPECT_EQ(UriUtil::fileUriIsSecureToFetch("file:///assets/a%20b.png"), "/assets/a b.png");
    EXPECT_EQ(UriUtil::fileUriIsSecureToFetch("file:///mnt/nas/m.ts"), "/mnt/nas/m.ts");
    EXPECT_EQ(UriUtil::fileUriIsSecureToFetch("file:///tmp/nas_test_mountpoint/x"),
              "/tmp/nas_test_mountpoint/x");
    EXPECT_EQ(UriUtil::fileUriIsSecureToFetch("file:///assets"), "");
    EXPECT_EQ(UriUtil::fileUriIsSecureToFetch("file:///etc/passwd"), "");
    EXPECT_EQ(UriUtil::fileUriIsSecureToFetch("file:///mnt/nasty/x"), "");
    EXPECT_EQ(UriUtil::fileUriIsSecureToFetch("http:///assets/a.png"), "");
}

TEST(UriUtil, HttpPaths)
{
    EXPECT_EQ(UriUtil::httpGetPath("http://h/a/b"), "/a/b");
    EXPECT_EQ(UriUtil::httpGetPath("HTTP://host:80/p?q=1"), "/p?q=1");
    EXPECT_EQ(UriUtil::httpGetPath("http://h/"), "/");
    EXPECT_EQ(UriUtil::httpGetPath("http://h"), "");      // 8 characters: too short
    EXPECT_EQ(UriUtil::httpGetPath("http://hx"), "");     // no path
    EXPECT_EQ(UriUtil::httpGetPath("https://h/a/b"), ""); // not http
    EXPECT_EQ(UriUtil::httpGetPath("file:///a/b/c"), "");
    EXPECT_EQ(UriUtil::httpGetPath("h://xxxxx/y"), "/y"); // searched from position 7
}
