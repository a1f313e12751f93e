#include "platform/include/ctlcmd.h"

#include "platform/include/slab.h"
#include "tests/support/testing.h"

namespace {

using Session = ctlcmd_session*;
using Words = const char* const*;

int echo(Session session, int argc, Words argv, void* context) {
  EXPECT_EQ(argv[argc], nullptr);
  for (int i = 0; i < argc; ++i) {
    ctlcmd_printf(session, "[%s]", argv[i]);
  }
  ctlcmd_printf(session, "%s", context != nullptr ? static_cast<const char*>(context) : "-");
  return 7;
}

int leave(Session session, int, Words, void*) {
  EXPECT_EQ(ctlcmd_unregister_library("mod"), 0);
  ctlcmd_printf(session, "gone");
  return 0;
}

int fail(Session session, int, Words, void*) {
  ctlcmd_printf(session, "so far\n");
  throw std::runtime_error("fail");
}

const ctlcmd_command COMMANDS[] = {
    {"ECHO", echo, "say it again"}, {"LEAVE", leave, "remove the module"},   {"HELP", ctlcmd_help, "help"},
    {"QUIT", ctlcmd_quit, "leave"}, {"SLABSHOW", ctlcmd_slabshow, "totals"}, {"SLABDUMP", ctlcmd_slabdump, "all"},
    {"FAIL", fail, "throw"}};

/// Returns the result of a command line, a space and its output.
std::string run(const char* line, const char* module = "mod") {
  std::string text;
  const int result = ctlcmd_docommand_to(
      module, line,
      [](void* all, const char* piece, size_t length) { static_cast<std::string*>(all)->append(piece, length); },
      &text);
  return std::to_string(result) + " " + text;
}

class Ctlcmd : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(ctlcmd_register_library("mod", COMMANDS, std::size(COMMANDS)), 0); }
  void TearDown() override { ctlcmd_unregister_library("mod"); }
};

TEST_F(Ctlcmd, ModulesComeAndGo) {
  EXPECT_EQ(ctlcmd_register_library("mod", COMMANDS, 1), -EEXIST);
  EXPECT_EQ(ctlcmd_register_library("", COMMANDS, 1), -EINVAL);
  char context[] = "context";
  EXPECT_EQ(ctlcmd_module_set_ctx("mod", context), 0);
  EXPECT_EQ(run("echo a"), "7 [echo][a]context");
  EXPECT_EQ(run("leave"), "0 gone");
  EXPECT_EQ(ctlcmd_module_set_ctx("mod", nullptr), -ENOENT);
  EXPECT_EQ(ctlcmd_unregister_library("mod"), -ENOENT);
}

TEST_F(Ctlcmd, LinesAreSplitIntoWordsAndAnswered) {
  const auto result = [](int number) { return std::to_string(number) + " "; };
  const std::pair<const char*, std::string> rows[] = {
      {"ECHO", "7 [ECHO]-"},
      {"  echo\tone  two \n", "7 [echo][one][two]-"},
      {R"(echo "a b" c"d e"f "")", "7 [echo][a b][cd ef][]-"},
      {R"(echo \"x\\ "y\"z" \n)", R"(7 [echo]["x\][y"z][\n]-)"},
      {R"(echo "open)", result(CTLCMD_BAD_LINE) + "a quote is not closed\n"},
      {"what", result(CTLCMD_NO_COMMAND) + "module \"mod\" has no command \"what\", try HELP mod\n"},
      {"help Mod", result(CTLCMD_NO_MODULE) + "no module \"Mod\"\n"},
      {"quit", result(CTLCMD_CLOSED)},
      {"fail", result(CTLCMD_FAILED) + "so far\nthe command failed\n"},
  };
  for (const auto& [line, answer] : rows) {
    EXPECT_EQ(run(line), answer);
  }
  EXPECT_EQ(run("echo", ""), result(CTLCMD_NO_COMMAND) + "no command \"echo\", try HELP\n") << "no shell is served";
  EXPECT_EQ(run(" ", ""), result(CTLCMD_NO_COMMAND) + "no command \"\", try HELP\n");
  EXPECT_EQ(run("mod echo \"a b\"", ""), "7 [echo][a b]-");
  EXPECT_THAT(run("mod", ""),
              StartsWith(result(CTLCMD_NO_COMMAND) +
                         "module \"mod\" needs one of its commands:\n  ECHO              say it again\n"));
  testing::internal::CaptureStderr();
  EXPECT_EQ(ctlcmd_docommand("mod", "echo a"), 7);
  EXPECT_EQ(ctlcmd_docommand("mod", "quit"), CTLCMD_CLOSED);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "[echo][a]-\n") << "an answer is a message";
  const ctlcmd_output deaf = [](void*, const char*, size_t) { throw std::runtime_error("deaf"); };
  EXPECT_EQ(ctlcmd_docommand_to("mod", "fail", deaf, nullptr), CTLCMD_FAILED);
}

TEST_F(Ctlcmd, BuiltInCommands) {
  EXPECT_THAT(run("help"), HasSubstr("module mod:\n  ECHO              say it again\n"));
  EXPECT_THAT(run("help mod"), StartsWith("0   ECHO"));
  EXPECT_THAT(run("slabshow"), HasSubstr("in use:"));
  EXPECT_THAT(run("slabdump"), StartsWith("0 "));
  slab_reap();
}

}  // namespace
