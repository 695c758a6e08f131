// The platform layer: paths matched without regard to case, folders, and the
// process-wide services (interface registry, message handler, locks).
#include <zoactor/foundation/ZoCopyFolder.h>
#include <zoactor/foundation/ZoCriticalSection.h>
#include <zoactor/foundation/ZoInterfaceRegistry.h>
#include <zoactor/foundation/ZoMessageHandler.h>

#include "support/ZoTestSupport.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

using zotest::Bytes;
using zotest::TempFolder;

namespace {

// Runs a test body from inside a folder and returns to where it was.
class InFolder {
 public:
  explicit InFolder(std::string const& path) : saved(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~InFolder() { std::filesystem::current_path(saved); }

 private:
  std::filesystem::path saved;
};

}  // namespace

TEST(ZoPlatformPaths, SkillFileIsFoundUnderAnotherCaseAndSeparator) {
  TempFolder temp;
  temp.WriteFile("Skills/Walk.skl", Bytes{1, 2, 3});
  InFolder inside(temp.path());
  EXPECT_EQ(ZoPlatform::ResolveExisting("SKILLS\\WALK.skl"), "Skills/Walk.skl");
  EXPECT_EQ(std::make_pair(ZoPlatform::Exists("skills/walk.SKL"), ZoPlatform::Exists("SKILLS\\RUN.skl")),
            std::make_pair(true, false));
  // Opening and reading under another case and separator is driven by the
  // actor-file and skill-cache tests. Only a letter and a colon make a
  // drive: "1:" is a folder's name.
  temp.WriteFile("1:/f.txt", Bytes{4});
  EXPECT_EQ(ZoPlatform::ResolveExisting("1:\\F.TXT"), "1:/f.txt");
  EXPECT_EQ(ZoPlatform::OpenRead("SKILLS", ZoAccessHint::Sequential), kZoInvalidFileHandle);  // a folder
}

TEST(ZoPlatformPaths, AbsolutePathsAndTheFirstMatchInByteOrder) {
  TempFolder temp;
  temp.WriteFile("Data/walk.skl", Bytes{1});
  temp.WriteFile("Data/WALK.skl", Bytes{2});
  std::string asked = temp.path() + "\\data\\Walk.SKL";
  EXPECT_EQ(ZoPlatform::ResolveExisting(asked.c_str()), temp.path() + "/Data/WALK.skl");  // 'W' < 'w'
  EXPECT_EQ(ZoPlatform::NativePath("C:\\a\\b"), "/a/b");
  // Only a letter makes a drive, the first and last of either case included.
  for (std::string drive : {"A", "Z", "a", "z"}) EXPECT_EQ(ZoPlatform::NativePath((drive + ":\\x").c_str()), "/x");
  for (std::string other : {"@", "[", "`", "{"})
    EXPECT_EQ(ZoPlatform::NativePath((other + ":\\x").c_str()), other + ":/x");
}

TEST(ZoPlatformPaths, CreatingReusesExistingFoldersAndKeepsTheNewNamesCase) {
  TempFolder temp;
  std::filesystem::create_directories(temp / "Actor/Skills");
  InFolder inside(temp.path());
  ZoFileHandle fd = ZoPlatform::OpenWrite("ACTOR\\SKILLS\\New.skl", ZoAccessHint::Sequential);
  ASSERT_NE(fd, kZoInvalidFileHandle);
  ZoPlatform::Close(fd);
  std::vector<ZoFolderResult> const made{ZoPlatform::CreateFolder("actor\\Sounds"), ZoPlatform::CreateFolder("ACTOR\\sounds"),
                                         ZoPlatform::CreateFolder("missing\\parent\\x")};
  EXPECT_EQ(made, std::vector<ZoFolderResult>(
                      {ZoFolderResult::Created, ZoFolderResult::AlreadyExists, ZoFolderResult::Failed}));
  EXPECT_TRUE(ZoPlatform::CreateFolders("actor/Deep/Er"));
  for (char const* path : {"Actor/Skills/New.skl", "Actor/Sounds/", "Actor/Deep/Er/"})
    EXPECT_TRUE(std::filesystem::exists(temp / path)) << path;
}

// Renaming and deleting files and folders by another case are driven by the
// skill-cache and sequence tests.
TEST(ZoPlatformPaths, ListingAndJoining) {
  TempFolder temp;
  temp.WriteFile("Skills/Walk.skl", Bytes{1});
  temp.WriteFile("Skills/run.SKL", Bytes{2});
  temp.WriteFile("Skills/notes.txt", Bytes{3});
  InFolder inside(temp.path());
  ZoStringList found;
  EXPECT_EQ(ZoPlatform::ListFolder("SKILLS", "*.skl", found), 2);
  EXPECT_EQ(zotest::Texts(found), (std::vector<std::string>{"Walk.skl", "run.SKL"}));
  EXPECT_EQ(ZoPlatform::ListFolder("Nowhere", "*", found), -1);
  EXPECT_EQ(ZoPlatform::JoinPath("a", "b") + " " + ZoPlatform::JoinPath("a\\", "b"), "a/b a\\b");
}

// Descriptor 0 is a handle like any other: closing it closes it.
TEST(ZoPlatformFiles, DescriptorZeroIsAValidHandle) {
  int saved = ::dup(0);
  ASSERT_GE(saved, 0);
  EXPECT_TRUE(ZoPlatform::Close(0));
  EXPECT_EQ(::fcntl(0, F_GETFD), -1);  // closed
  EXPECT_FALSE(ZoPlatform::Close(-1));
  ASSERT_EQ(::dup2(saved, 0), 0);
  ::close(saved);
}

TEST(ZoPlatformFiles, CopyFolderCarriesFilesAndSubFolders) {
  TempFolder temp;
  temp.WriteFile("Hero/Textures/skin.tga", Bytes(70000, 9));
  temp.WriteFile("Hero/Textures/Detail/eye.tga", Bytes{4, 5});
  std::filesystem::create_directories(temp / "Seq/Actors/Hero");
  ZoCopyFolder copy((temp / "hero").c_str(), "Textures", (temp / "Seq/Actors/Hero").c_str());
  EXPECT_EQ(copy.Copy(1), 1);
  EXPECT_EQ(temp.ReadFile("Seq/Actors/Hero/Textures/skin.tga"), Bytes(70000, 9));
  EXPECT_EQ(temp.ReadFile("Seq/Actors/Hero/Textures/Detail/eye.tga"), (Bytes{4, 5}));
  // An actor without textures gets an empty folder.
  std::filesystem::create_directories(temp / "Bare");
  ZoCopyFolder bare((temp / "Bare").c_str(), "Textures", (temp / "Seq").c_str());
  EXPECT_EQ(std::vector<int>({bare.Copy(1), std::filesystem::is_directory(temp / "Seq/Textures"),
                              ZoCopyFolder::CreateFolder((temp / "Seq").c_str()),
                              ZoCopyFolder::Exists((temp / "SEQ/textures").c_str())}),
            std::vector<int>(4, 1));
}

// --- Process-wide services --------------------------------------------------------

TEST(ZoServices, InterfaceRegistryBorrowsAndMatchesExactly) {
  zotest::CountingAi engine;
  ZoAi* found = nullptr;
  std::vector<int> const answers{
      ZoInterfaceRegistry::Register("Engine", &engine), ZoInterfaceRegistry::Register("", &engine),
      ZoInterfaceRegistry::GetInterface("Engine", &found), found == &engine, engine.references,  // no reference taken
      ZoInterfaceRegistry::GetInterface("ENGINE", &found), found == nullptr,
      ZoAiHookManager::Offer(31, nullptr),  // no manager registered
      ZoInterfaceRegistry::Unregister("Engine"), ZoInterfaceRegistry::Unregister("Engine")};
  EXPECT_EQ(answers, std::vector<int>({1, 0, 1, 1, 1, 0, 1, 0, 1, 0}));
}

// The logger's sink and its context are driven by the skill-cache save
// tests, which check every field a logged line carries.
TEST(ZoServices, MessageHandlerReachesTheInstalledHandler) {
  std::string seen;
  ZoMessageHandler::Set(
      [](ZoString const& text, ZoString const& caption, int, void* context) {
        *static_cast<std::string*>(context) += std::string(caption.c_str()) + ": " + text.c_str();
        return 7;
      },
      &seen);
  EXPECT_EQ(ZoMessageHandler::Show("Unable to load ProtoActor: Hero", "Sequence", 0), 7);
  ZoMessageHandler::Set(nullptr, nullptr);
  EXPECT_EQ(seen, "Sequence: Unable to load ProtoActor: Hero");
}

TEST(ZoServices, CriticalSectionIsReentrantAndExcludesOtherThreads) {
  ZoCriticalSection section;
  int counter = 0;
  auto work = [&] {
    for (int i = 0; i < 10000; ++i) {
      ZoCriticalSectionLock outer(section);
      ZoCriticalSectionLock inner(section);  // the same thread enters again
      ++counter;
    }
  };
  std::thread a(work), b(work);
  a.join();
  b.join();
  EXPECT_EQ(counter, 20000);
  section.Enter();
  std::thread other([&] { EXPECT_FALSE(section.TryEnter()); });
  other.join();
  section.Leave();
}
