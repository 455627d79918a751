#include <support/documented_commands.h>
#include <support/temporary_directory.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::TestSupport {
namespace {

TEST(DocumentedCommands, commands_haveTheLinesUpToTheNextOneOrTheEndOfTheBlock) {
    const TemporaryDirectory directory;
    directory.writeFile("page.md", "Text\n\n    tool SYNOPSIS\n\n    $ first 1\n    one\n      two\n    $ second\n\n"
                                   "    no output\n\n    $ third\n    three\nText\n");
    const std::vector<DocumentedCommand> commands = documentedCommands(directory.path("page.md"));
    ASSERT_EQ(commands.size(), 3U);
    EXPECT_EQ(commands[0].line, "first 1");
    EXPECT_EQ(commands[0].output, "one\n  two\n");
    EXPECT_EQ(commands[1].line, "second");
    EXPECT_EQ(commands[1].output, "");
    EXPECT_EQ(commands[2].output, "three\n");
}

TEST(DocumentedCommands, shell_findsTheProgramsOfTheDirectoryFirst) {
    const TemporaryDirectory directory;
    directory.writeFile("bin/ls", "#!/bin/sh\necho mine $1\n");
    std::filesystem::permissions(directory.path("bin/ls"), std::filesystem::perms::owner_all);
    EXPECT_EQ(runInShell("ls a; exit 3", directory.path("bin"), directory.path()), (ProcessResult{3, "mine a\n", ""}));
}

} // namespace
} // namespace Kiln::TestSupport
