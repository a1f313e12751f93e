#include <stdlib.h>

#include "platform/include/velolib.h"
#include "tests/platform/children.h"

namespace {

using namespace std::string_literals;

class BootEnvironment : public testing::Test {
 protected:
  BootEnvironment() : folder_("/tmp/" + unique_name("bootenv")) {
    std::filesystem::create_directory(folder_);
    setenv("QELVELO_FW_ENV_CONFIG", (folder_ / "fw_env.config").c_str(), 1);
    setenv("QELVELO_ENV_FILE", (folder_ / "env.txt").c_str(), 1);
  }
  ~BootEnvironment() override { std::filesystem::remove_all(folder_); }

  void write(const char* file, const std::string& content) {
    std::ofstream(folder_ / file, std::ios::binary) << content;
  }

  std::filesystem::path folder_;
};

TEST_F(BootEnvironment, ComesFromATextFileWithoutABootLoader) {
  EXPECT_EQ(kelvar_getenv("maca"), nullptr);
  write("env.txt", "# comment\nmacaroni=1\nmice=three\n\nmaca=00:11:22:33:44:55\r\nmaca=second\nempty=\n#x=1\n");
  EXPECT_STREQ(kelvar_getenv("maca"), "00:11:22:33:44:55");
  EXPECT_STREQ(kelvar_getenv("empty"), "");
  for (const char* unknown : {"mac", "#x", "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(kelvar_getenv(unknown), nullptr);
  }
}

TEST_F(BootEnvironment, ComesFromTheBootLoaderWhereThereIsOne) {
  write("env.txt", "only_text=1\nmaca=wrong\n");
  std::string variables = "maca=02:00:5E:00:53:01\0bootdelay=3\0"s;
  variables.resize(0x1000 - 4, '\0');
  const std::uint32_t crc = 0x21426B44;  // of IEEE 802.3, in the byte order of the machine
  write("image", std::string(reinterpret_cast<const char*>(&crc), 4) + variables);
  write("fw_env.config", (folder_ / "image").string() + " 0x0 0x1000\n");
  EXPECT_STREQ(kelvar_getenv("maca"), "02:00:5E:00:53:01");
  EXPECT_STREQ(kelvar_getenv("bootdelay"), "3");
  EXPECT_EQ(kelvar_getenv("only_text"), nullptr);
}

}  // namespace
