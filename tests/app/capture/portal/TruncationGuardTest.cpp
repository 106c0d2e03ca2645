#include "app/capture/portal/TruncationGuard.h"
#include "tests/support/MemoryFile.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarvinel::portal {
namespace {

using test::MemoryFile;

constexpr std::size_t page = 4096;
constexpr std::size_t pages = 4;
constexpr std::uint8_t content = 7;

/// A file that is mapped as a media server's client maps it.
class TruncationGuardTest : public testing::Test {
 protected:
  TruncationGuardTest() : bytes_(map()) {}
  ~TruncationGuardTest() override { munmap(bytes_, pages * page); }

  SharedMap whole() const { return {bytes_, pages * page, file_.descriptor(), 0}; }
  int at(std::size_t index) const { return static_cast<volatile std::uint8_t*>(bytes_)[index]; }

  MemoryFile file_{std::vector<std::uint8_t>(pages * page, content)};

 private:
  std::uint8_t* map() const {
    return static_cast<std::uint8_t*>(
        mmap(nullptr, pages * page, PROT_READ, MAP_SHARED, file_.descriptor(), 0));
  }

  std::uint8_t* bytes_;
};

using TruncationGuardDeathTest = TruncationGuardTest;

TEST_F(TruncationGuardTest, readsWhatIsThere) {
  const TruncationGuard guard(whole());
  EXPECT_EQ(at(0), content);
  EXPECT_EQ(at(pages * page - 1), content);
  EXPECT_FALSE(guard.wasTruncated());
}

TEST_F(TruncationGuardTest, readsWhatIsGoneAsZeros) {
  const TruncationGuard guard(whole());
  ASSERT_TRUE(file_.resize(page));
  EXPECT_EQ(at(0), content);
  EXPECT_EQ(at(2 * page), 0);
  EXPECT_TRUE(guard.wasTruncated());
  EXPECT_EQ(at(pages * page - 1), 0);
}

TEST_F(TruncationGuardTest, showsTheFileAgainWhenItGrewSince) {
  {
    const TruncationGuard guard(whole());
    ASSERT_TRUE(file_.resize(0));
    EXPECT_EQ(at(page), 0);
  }
  ASSERT_TRUE(file_.write(0, std::vector<std::uint8_t>(pages * page, content + 1)));
  const TruncationGuard guard(whole());
  EXPECT_EQ(at(page), content + 1);
  EXPECT_EQ(at(pages * page - 1), content + 1);
  EXPECT_FALSE(guard.wasTruncated());
}

TEST_F(TruncationGuardTest, guardsAMapThatBeginsWithinAPage) {
  constexpr std::size_t inside = page + 100;
  const SharedMap map{whole().begin + inside, 2 * page, file_.descriptor(), inside};
  {
    const TruncationGuard guard(map);
    ASSERT_TRUE(file_.resize(page));
    EXPECT_EQ(at(inside), 0);
    EXPECT_TRUE(guard.wasTruncated());
  }
  ASSERT_TRUE(file_.resize(inside));
  ASSERT_TRUE(file_.write(inside, {1, 2, 3}));
  EXPECT_EQ(at(inside + 2), 3);
}

TEST_F(TruncationGuardTest, guardsNothingWhereThereIsNoMap) {
  const TruncationGuard guard(SharedMap{});
  EXPECT_FALSE(guard.wasTruncated());
}

TEST_F(TruncationGuardTest, leavesTheSignalAsItWas) {
  struct sigaction before{};
  struct sigaction after{};
  sigaction(SIGBUS, nullptr, &before);
  {
    const TruncationGuard guard(whole());
  }
  sigaction(SIGBUS, nullptr, &after);
  EXPECT_EQ(after.sa_sigaction, before.sa_sigaction);
  EXPECT_EQ(after.sa_flags, before.sa_flags);
}

TEST_F(TruncationGuardDeathTest, otherMemoryThatIsGoneEndsTheProgram) {
  ASSERT_TRUE(file_.resize(page));
  const SharedMap first{whole().begin, page, file_.descriptor(), 0};
  EXPECT_DEATH(
      {
        const TruncationGuard guard(first);
        at(2 * page);
      },
      "");
}

}  // namespace
}  // namespace tarvinel::portal
