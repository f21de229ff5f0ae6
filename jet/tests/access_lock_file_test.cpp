// The lock file as several programs see it: each program here is a child
// process with an entry of its own in a real file.
#include "storage/access_lock_file.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>

namespace jet {
namespace {

using Names = std::vector<std::string>;

std::string FreshDatabasePath(const std::string& folder) {
  const std::string dir = ::testing::TempDir() + "access-lock-file-tests/" + folder;
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir + "/db.mdb";
}

// The user name of each entry in the file, as Access reads it; "" for an empty one.
Names UserNamesInFile(const std::string& database_path) {
  std::ifstream in(AccessLockFile::PathFor(database_path), std::ios::binary);
  Names names;
  std::array<char, 64> entry;
  while (in.read(entry.data(), entry.size())) names.emplace_back(entry.data() + 32, strnlen(entry.data() + 32, 32));
  return names;
}

Names LiveUserNames(const std::string& database_path) {
  Names names;
  for (const auto& [machine, user] : AccessLockFile::Users(DefaultFileSystem(), database_path)) names.push_back(user);
  std::sort(names.begin(), names.end());
  return names;
}

bool LockFileExists(const std::string& database_path) {
  return std::filesystem::exists(AccessLockFile::PathFor(database_path));
}

// Holds back the children given it until it goes, then lets them all go at once.
class StartingGun {
 public:
  StartingGun() { EXPECT_EQ(::pipe(fds_), 0); }
  ~StartingGun() {
    ::close(fds_[0]);
    ::close(fds_[1]);
  }
  void WaitInChild() {
    ::close(fds_[1]);
    char c;
    while (::read(fds_[0], &c, 1) > 0) {
    }
  }

 private:
  int fds_[2] = {-1, -1};
};

// Another program with the database open: a child process that enters the
// lock file, says whether it got in, and stays until told to leave or killed.
class Member {
 public:
  Member(const std::string& database_path, const std::string& user, StartingGun* gun = nullptr) {
    int ready[2], leave[2];
    EXPECT_EQ(::pipe(ready), 0);
    EXPECT_EQ(::pipe(leave), 0);
    pid_ = ::fork();
    if (pid_ == 0) RunChild(database_path, user, gun, ready[1], leave[0]);
    ::close(ready[1]);
    ::close(leave[0]);
    ready_ = ready[0];
    leave_ = leave[1];
  }
  // A child the test lost track of (a failed assertion) is not left behind.
  ~Member() {
    if (pid_ > 0) Kill();
    ::close(ready_);
    ::close(leave_);
  }

  bool Entered() {
    char answer = 0;
    return ::read(ready_, &answer, 1) == 1 && answer == 'y';
  }
  void TellToLeave() { EXPECT_EQ(::write(leave_, "x", 1), 1); }
  // Whether it left of its own accord.
  bool Gone() {
    int status = 0;
    const bool waited = ::waitpid(pid_, &status, 0) == pid_;
    pid_ = -1;
    return waited && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }
  bool Leave() {
    TellToLeave();
    return Gone();
  }
  void Kill() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }

 private:
  [[noreturn]] static void RunChild(const std::string& database_path, const std::string& user, StartingGun* gun,
                                    int ready, int leave) {
    ::alarm(60);  // never outlives a test that hangs
    if (gun) gun->WaitInChild();
    std::unique_ptr<AccessLockFile> lock;
    const char answer = AccessLockFile::Enter(DefaultFileSystem(), database_path, user, &lock).ok() ? 'y' : 'n';
    if (::write(ready, &answer, 1) != 1) _exit(2);
    char c;
    if (::read(leave, &c, 1) != 1) _exit(3);
    lock.reset();
    _exit(0);
  }

  pid_t pid_ = -1;
  int ready_ = -1;
  int leave_ = -1;
};

// A program that opens and closes the database over and over; it exits 0
// when it found itself listed each time it was in.
pid_t StartComingAndGoing(const std::string& database_path, const std::string& user, int times, StartingGun* gun) {
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  ::alarm(60);
  gun->WaitInChild();
  for (int i = 0; i < times; ++i) {
    std::unique_ptr<AccessLockFile> lock;
    if (!AccessLockFile::Enter(DefaultFileSystem(), database_path, user, &lock).ok()) _exit(2);
    const auto users = AccessLockFile::Users(DefaultFileSystem(), database_path);
    if (std::none_of(users.begin(), users.end(), [&](const auto& u) { return u.second == user; })) _exit(3);
  }
  _exit(0);
}

TEST(AccessLockFile, ListsWhoIsInAndGoesWithTheLastOneOut) {
  const std::string db = FreshDatabasePath("users");
  Member alice(db, "alice");
  ASSERT_TRUE(alice.Entered());
  Member bob(db, "bob");
  ASSERT_TRUE(bob.Entered());
  const auto users = AccessLockFile::Users(DefaultFileSystem(), db);
  ASSERT_EQ(users.size(), 2u);
  char host[256] = {};
  gethostname(host, sizeof host - 1);
  EXPECT_EQ(users[0].first, std::string(host).substr(0, 31));
  EXPECT_EQ(LiveUserNames(db), (Names{"alice", "bob"}));

  ASSERT_TRUE(alice.Leave());
  EXPECT_EQ(LiveUserNames(db), Names{"bob"});
  EXPECT_EQ(UserNamesInFile(db), (Names{"", "bob"}));
  ASSERT_TRUE(bob.Leave());
  EXPECT_FALSE(LockFileExists(db));

  // Where the file cannot be made, the caller is told.
  const std::string nowhere = ::testing::TempDir() + "access-lock-file-tests/no-such-folder/db.mdb";
  std::unique_ptr<AccessLockFile> lock;
  EXPECT_EQ(AccessLockFile::Enter(DefaultFileSystem(), nowhere, "x", &lock).code(), Status::Code::kIOError);
}

TEST(AccessLockFile, AnEntryLeftByAKilledProgramIsNoUserAndKeepsNothing) {
  const std::string db = FreshDatabasePath("killed");
  Member alice(db, "alice");
  ASSERT_TRUE(alice.Entered());
  Member crashed(db, "crashed");
  ASSERT_TRUE(crashed.Entered());
  Member carol(db, "carol");
  ASSERT_TRUE(carol.Entered());
  crashed.Kill();
  EXPECT_EQ(UserNamesInFile(db), (Names{"alice", "crashed", "carol"}));
  EXPECT_EQ(LiveUserNames(db), (Names{"alice", "carol"}));

  // This process enters itself: its own entry counts as live to its own reader.
  std::unique_ptr<AccessLockFile> dave;
  ASSERT_TRUE(AccessLockFile::Enter(DefaultFileSystem(), db, "dave", &dave).ok());
  EXPECT_EQ(UserNamesInFile(db), (Names{"alice", "dave", "carol"}));
  EXPECT_EQ(LiveUserNames(db), (Names{"alice", "carol", "dave"}));

  carol.Kill();
  dave.reset();
  EXPECT_EQ(UserNamesInFile(db), (Names{"alice", "", "carol"}));
  EXPECT_EQ(LiveUserNames(db), Names{"alice"});
  ASSERT_TRUE(alice.Leave());
  EXPECT_FALSE(LockFileExists(db));
}

TEST(AccessLockFile, ProgramsEnteringAndLeavingAtOnceKeepEntriesOfTheirOwn) {
  const std::string db = FreshDatabasePath("at-once");
  Names users;
  for (int i = 0; i < 8; ++i) users.push_back("user" + std::to_string(i));
  for (int round = 0; round < 5; ++round) {
    SCOPED_TRACE("all enter at once, then all leave; round " + std::to_string(round));
    std::vector<std::unique_ptr<Member>> members;
    {
      StartingGun gun;
      for (const std::string& user : users) members.push_back(std::make_unique<Member>(db, user, &gun));
    }
    for (auto& member : members) EXPECT_TRUE(member->Entered());
    Names in_file = UserNamesInFile(db);
    std::sort(in_file.begin(), in_file.end());
    EXPECT_EQ(in_file, users);
    EXPECT_EQ(LiveUserNames(db), users);
    for (auto& member : members) member->TellToLeave();
    for (auto& member : members) EXPECT_TRUE(member->Gone());
    EXPECT_FALSE(LockFileExists(db));
  }

  SCOPED_TRACE("coming and going over and over: no one enters a file as it is removed");
  std::vector<pid_t> programs;
  {
    StartingGun gun;
    for (int i = 0; i < 4; ++i) programs.push_back(StartComingAndGoing(db, users[i], 1000, &gun));
  }
  for (const pid_t pid : programs) {
    int status = -1;
    EXPECT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_EQ(status, 0) << "wait status of a program that came and went";
  }
  EXPECT_FALSE(LockFileExists(db));
}

}  // namespace
}  // namespace jet
