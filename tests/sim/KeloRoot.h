#ifndef KELO_TESTS_SIM_KELOROOT_H
#define KELO_TESTS_SIM_KELOROOT_H
// Test helper: a private device root (KELO_ROOT) in a new temporary directory, with the host
// queues' key file "usr/local/bin/kelo_client" in it, so that the queue keys of one test never
// meet another's. It is also set as this process's KELO_ROOT for its lifetime. The destructor
// removes both host queues of the root (if they exist) and the directory.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KeloTest {

class KeloRoot
{
public:
    explicit KeloRoot(bool withKeyFile = true)
    {
        char dir[] = "/tmp/kelo-root-XXXXXX";
        if (mkdtemp(dir) != nullptr)
            mPath = dir;
        if (withKeyFile)
            createKeyFile();
        if (const char* old = getenv("KELO_ROOT"))
            mOld = old, mHadOld = true;
        setenv("KELO_ROOT", mPath.c_str(), 1);
    }
    ~KeloRoot()
    {
        removeQueues();
        std::string cmd = "rm -rf '" + mPath + "'";
        if (!mPath.empty() && system(cmd.c_str()) != 0)
            fprintf(stderr, "could not remove %s\n", mPath.c_str());
        if (mHadOld)
            setenv("KELO_ROOT", mOld.c_str(), 1);
        else
            unsetenv("KELO_ROOT");
    }
    KeloRoot(const KeloRoot&) = delete;
    KeloRoot& operator=(const KeloRoot&) = delete;

    const std::string& path() const { return mPath; }
    std::string env() const { return "KELO_ROOT=" + mPath; }
    std::string keyFile() const { return mPath + "/usr/local/bin/kelo_client"; }

    void createKeyFile()
    {
        mkdir((mPath + "/usr").c_str(), 0755);
        mkdir((mPath + "/usr/local").c_str(), 0755);
        mkdir((mPath + "/usr/local/bin").c_str(), 0755);
        if (FILE* f = fopen(keyFile().c_str(), "w"))
            fclose(f);
    }

    // The id of the queue with project id 1 (app) or 2 (stub), or -1 when it does not exist.
    int queueId(int projectId) const
    {
        key_t key = ftok(keyFile().c_str(), projectId);
        return key == -1 ? -1 : msgget(key, 0);
    }

    void removeQueues() const
    {
        for (int projectId : {1, 2}) {
            int id = queueId(projectId);
            if (id >= 0)
                msgctl(id, IPC_RMID, nullptr);
        }
    }

private:
    std::string mPath;
    std::string mOld;
    bool mHadOld = false;
};

} // namespace KeloTest

#endif
