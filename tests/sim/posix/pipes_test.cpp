// A pipe or a device in the place of a file: nobody may ever write to it, or it never ends.
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "sim/rack.h"
#include "sim/scene.h"
#include "tests/support/temporary_folder.h"

namespace zerix::sim {
namespace {

std::string PipeIn(const test::TemporaryFolder &folder, const std::string &name)
{
    std::string path = folder.Path() + "/" + name;
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    return path;
}

TEST(PipesAndDevices, AreNoRackFiles)
{
    const test::TemporaryFolder folder;
    Rack rack;
    std::string error;
    for (const std::string &path : {PipeIn(folder, "rack.toml"), std::string("/dev/zero")}) {
        EXPECT_FALSE(LoadRack(path, &rack, &error));
        EXPECT_EQ(error, path + ": the file is a pipe, a device or a folder.");
    }
}

TEST(PipesAndDevices, AreNoPictures)
{
    const test::TemporaryFolder folder;
    std::string error;
    for (const std::string &path : {PipeIn(folder, "a.pgm"), std::string("/dev/zero")}) {
        EXPECT_EQ(MakeScene("picture:" + path, 1, &error), nullptr);
        EXPECT_EQ(error,
                  "scene \"picture:" + path + "\": the file is a pipe, a device or a folder.");
    }
}

} // namespace
} // namespace zerix::sim
