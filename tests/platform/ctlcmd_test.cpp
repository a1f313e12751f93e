#include "platform/include/ctlcmd.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/include/slab.h"

namespace {

using testing::HasSubstr;

struct Answer {
  int result;
  std::string text;
};

Answer run(const char* module, const char* line) {
  Answer answer;
  answer.result = ctlcmd_docommand_to(
      module, line,
      [](void* text, const char* piece, size_t length) { static_cast<std::string*>(text)->append(piece, length); },
      &answer.text);
  return answer;
}

int echo(ctlcmd_session* session, int argc, const char* const* argv, void* context) {
  EXPECT_EQ(argv[argc], nullptr);
  for (int i = 0; i < argc; ++i) {
    ctlcmd_printf(session, "[%s]", argv[i]);
  }
  ctlcmd_printf(session, "%s", context != nullptr ? static_cast<const char*>(context) : "-");
  return 7;
}

int leave(ctlcmd_session* session, int, const char* const*, void*) {
  EXPECT_EQ(ctlcmd_unregister_library("mod"), 0);
  ctlcmd_printf(session, "gone\n");
  return 0;
}

const ctlcmd_command kCommands[] = {{"ECHO", echo, "say it again"},          {"LEAVE", leave, "remove the module"},
                                    {"HELP", ctlcmd_help, "help"},           {"QUIT", ctlcmd_quit, "leave"},
                                    {"SLABSHOW", ctlcmd_slabshow, "totals"}, {"SLABDUMP", ctlcmd_slabdump, "all"}};

TEST(Ctlcmd, ModulesComeAndGo) {
  EXPECT_EQ(run("mod", "ECHO").result, CTLCMD_NO_MODULE);
  EXPECT_EQ(ctlcmd_module_set_ctx("mod", nullptr), -ENOENT);
  EXPECT_EQ(ctlcmd_unregister_library("mod"), -ENOENT);
  EXPECT_EQ(ctlcmd_register_library("", kCommands, 6), -EINVAL);
  ASSERT_EQ(ctlcmd_register_library("mod", kCommands, 6), 0);
  EXPECT_EQ(ctlcmd_register_library("mod", kCommands, 6), -EEXIST);
  EXPECT_EQ(run("mod", "ECHO").text, "[ECHO]-");
  char context[] = "context";
  EXPECT_EQ(ctlcmd_module_set_ctx("mod", context), 0);
  EXPECT_EQ(run("mod", "echo a").text, "[echo][a]context");
  EXPECT_EQ(run("MOD", "echo").result, CTLCMD_NO_MODULE);
  EXPECT_EQ(run("mod", "nothing").result, CTLCMD_NO_COMMAND);
  EXPECT_EQ(run("", "echo").result, CTLCMD_NO_COMMAND) << "no shell is served";
  EXPECT_EQ(run("mod", "leave").text, "gone\n");
  EXPECT_EQ(run("mod", "echo").result, CTLCMD_NO_MODULE);
}

TEST(Ctlcmd, LinesAreSplitIntoWords) {
  ASSERT_EQ(ctlcmd_register_library("mod", kCommands, 1), 0);
  EXPECT_EQ(run("mod", "  echo\tone  two \n").text, "[echo][one][two]-");
  EXPECT_EQ(run("mod", R"(echo "a b" c"d e"f "")").text, "[echo][a b][cd ef][]-");
  EXPECT_EQ(run("mod", R"(echo \"x\\ "y\"z" \n)").text, R"([echo]["x\][y"z][\n]-)");
  EXPECT_EQ(run("mod", R"(echo "open)").result, CTLCMD_BAD_LINE);
  EXPECT_EQ(run("mod", " ").result, CTLCMD_NO_COMMAND);
  EXPECT_EQ(run("mod", "echo").result, 7);
  ctlcmd_unregister_library("mod");
}

TEST(Ctlcmd, ACommandThatThrowsFails) {
  const ctlcmd_handler fail = [](ctlcmd_session* session, int, const char* const*, void*) -> int {
    ctlcmd_printf(session, "so far\n");
    throw std::runtime_error("fail");
  };
  const ctlcmd_command command = {"FAIL", fail, ""};
  ASSERT_EQ(ctlcmd_register_library("mod", &command, 1), 0);
  const Answer answer = run("mod", "fail");
  EXPECT_EQ(answer.result, CTLCMD_FAILED);
  EXPECT_EQ(answer.text, "so far\nthe command failed\n");
  const ctlcmd_output deaf = [](void*, const char*, size_t) { throw std::runtime_error("deaf"); };
  EXPECT_EQ(ctlcmd_docommand_to("mod", "fail", deaf, nullptr), CTLCMD_FAILED);
  ctlcmd_unregister_library("mod");
}

TEST(Ctlcmd, BuiltInCommands) {
  ASSERT_EQ(ctlcmd_register_library("mod", kCommands, 6), 0);
  EXPECT_THAT(run("mod", "help").text, HasSubstr("module mod:\n  ECHO              say it again\n"));
  EXPECT_EQ(run("mod", "help mod").text.find("  ECHO"), 0u);
  EXPECT_EQ(run("mod", "help other").result, CTLCMD_NO_MODULE);
  EXPECT_EQ(run("mod", "quit").result, CTLCMD_CLOSED);

  // The totals follow what is allocated.
  const auto in_use = [] {
    const std::string text = run("mod", "slabshow").text;
    const std::size_t at = text.find("in use:");
    return at == std::string::npos ? 0 : std::stoul(text.substr(at + 7));
  };
  const std::size_t before = in_use();
  const std::vector<std::vector<char>> ballast(1000, std::vector<char>(10000));
  const bool own_allocator = before == 0;  // a sanitizer replaces it and keeps no totals
  EXPECT_TRUE(own_allocator || in_use() >= before + 9'000'000);
  EXPECT_TRUE(own_allocator || run("mod", "slabdump").text.find("<malloc version=") == 0);
  slab_reap();
  ctlcmd_unregister_library("mod");
}

}  // namespace
