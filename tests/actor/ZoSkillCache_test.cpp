// The skill cache: lookups ignoring case, eviction with pins, names taken
// from files, skills of another skeleton, flushing, deleting and renaming;
// saving the actor folder with its log messages, and atomic replacement of
// every file under injected write, sync and rename failures.
#include <zoactor/foundation/ZoLogger.h>
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/serialization/ZoFileProgress.h>

#include "ZoActorTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

using namespace zoacttest;

namespace {

namespace fs = std::filesystem;

std::string Cached(ZoProtoActor const& actor) {
  return Joined<ZoProtoSkill>(actor.Skills(), [](ZoProtoSkill const& skill) { return skill.Name(); });
}

std::vector<std::string> Listing(std::string const& folder) {
  std::vector<std::string> names;
  for (auto const& entry : fs::recursive_directory_iterator(folder)) names.push_back(entry.path().string());
  std::sort(names.begin(), names.end());
  return names;
}

// Lookups and additions ignore case: a skill added under a cached name
// replaces the cached skill.
TEST(ZoSkillCache, LookupsAndAdditionsIgnoreCaseAndReadTheFileOnce) {
  TempFolder folder;
  ActorRef actor = ActorWithSkillFiles(folder, {"Walk"});
  ZoProtoSkill* upper = actor->GetSkill("WALK", 0);
  ASSERT_NE(upper, nullptr);
  EXPECT_EQ(actor->LastSkillLoad().status, ZoSkillLoadStatus::Loaded);
  EXPECT_EQ(upper->ParentIndex(3), 0);
  fs::remove(folder / "Dog/Skills/Walk.skl");
  EXPECT_EQ(actor->GetSkill("walk", 1), upper);
  EXPECT_EQ(upper->IsPinned(), 0);  // a cached skill keeps its pin
  EXPECT_EQ(actor->GetSkill("run", 0), nullptr);
  EXPECT_EQ(actor->LastSkillLoad().status, ZoSkillLoadStatus::Unreadable);
  EXPECT_EQ(actor->GetSkill("", 0), nullptr);
  EXPECT_EQ(actor->LastSkillLoad().status, ZoSkillLoadStatus::NoName);

  ZoProtoSkill* second = FigureSkill(actor.get(), "wALK");
  actor->AddSkill(second);
  actor->AddSkill(second);
  EXPECT_EQ(Cached(*actor), "wALK;");
}

TEST(ZoSkillCache, EvictsTheOldestUnpinnedSkill) {
  struct Case {
    char const* name;
    int size;
    std::vector<std::pair<char const*, int>> loads;
    char const* left;
  } const cases[] = {
      {"size 2, three loads", 2, {{"S1", 0}, {"S2", 0}, {"S3", 0}}, "S2;S3;"},
      {"a pinned skill does not count", 2, {{"S1", 1}, {"S2", 0}, {"S3", 0}, {"S4", 0}}, "S1;S3;S4;"},
      {"the default size keeps all", -1, {{"S1", 0}, {"S2", 0}, {"S3", 0}, {"S4", 0}}, "S1;S2;S3;S4;"},
      {"finding a skill again keeps its place", 2, {{"S1", 0}, {"S2", 0}, {"S1", 0}, {"S3", 0}}, "S2;S3;"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    TempFolder folder;
    ActorRef actor = ActorWithSkillFiles(folder, {"S1", "S2", "S3", "S4"});
    actor->SetSkillCacheSize(c.size);
    for (auto const& load : c.loads) ASSERT_NE(actor->GetSkill(load.first, load.second), nullptr);
    EXPECT_EQ(Cached(*actor), c.left);
  }
}

TEST(ZoSkillCache, FileNamesWinAndOtherSkeletonsAreRefused) {
  TempFolder folder;
  ActorRef actor = ActorWithSkillFiles(folder, {"Walk", "Run"});
  fs::rename(folder / "Dog/Skills/Walk.skl", folder / "Dog/Skills/Stroll.skl");
  SkillRef other(FlatSkill(1));
  ASSERT_EQ(ZoProtoActor::WriteSkillFile(actor->SkillPath() + "Other.skl", other.get()), 1);
  folder.WriteFile("Dog/Skills/broken.SKL", ByteBuilder().i32(0x5A4F536B).i32(0x536B6C50).i32(106));
  fs::create_directories(folder / "Dog/Skills/folder.skl");

  EXPECT_EQ(actor->GetSkill("other", 0), nullptr);
  EXPECT_EQ(actor->LastSkillLoad().status, ZoSkillLoadStatus::OtherSkeleton);
  EXPECT_STREQ(actor->LastSkillLoad().detail.reason, "a skill of another skeleton: 1 joints where the actor has 4");

  static int progressCalls;
  progressCalls = 0;
  ZoFileProgress::SetProgressCB([] { ++progressCalls; });
  std::vector<ZoSkillLoadReport> refused;
  actor->LoadAllSkills(&refused);
  ZoFileProgress::SetProgressCB(nullptr);
  EXPECT_EQ(progressCalls, 4);
  EXPECT_EQ(Cached(*actor), "Run;Stroll;");
  ASSERT_EQ(refused.size(), 2u);
  EXPECT_EQ(refused[0].status, ZoSkillLoadStatus::Unreadable);  // broken.SKL sorts first
  EXPECT_GT(refused[0].detail.offset, 0);
  EXPECT_EQ(refused[1].status, ZoSkillLoadStatus::OtherSkeleton);
  EXPECT_NE(actor->GetSkill("STROLL", 0), nullptr);
}

TEST(ZoSkillCache, FlushDeleteAndRename) {
  TempFolder folder;
  ActorRef actor = ActorWithSkillFiles(folder, {"Walk", "Run", "Jump"});
  ZoProtoSkill* walk = actor->GetSkill("Walk", 1);
  ZoProtoSkill* run = actor->GetSkill("Run", 0);
  SkillRef held = SkillRef::Share(actor->GetSkill("Jump", 0));
  actor->FlushAllSkills();
  EXPECT_EQ(Cached(*actor), "Walk;");
  EXPECT_EQ(held->RefCount(), 1);  // the cache let go; the caller's reference stays

  actor->DeleteSkill(held.get());  // not cached: not even its file goes
  EXPECT_TRUE(fs::exists(folder / "Dog/Skills/Jump.skl"));
  actor->RenameSkill(walk, "Stride");
  EXPECT_EQ(actor->GetSkill("STRIDE", 0), walk);
  EXPECT_TRUE(fs::exists(folder / "Dog/Skills/Stride.skl"));
  EXPECT_FALSE(fs::exists(folder / "Dog/Skills/Walk.skl"));
  run = actor->GetSkill("run", 0);
  actor->RenameSkill(run, "stride");  // taken by another cached skill: nothing
  EXPECT_EQ(run->Name(), "Run");
  actor->DeleteSkill(walk);
  EXPECT_FALSE(fs::exists(folder / "Dog/Skills/Stride.skl"));
  actor->FlushSkill("RUN");
  EXPECT_EQ(Cached(*actor), "");
  EXPECT_TRUE(fs::exists(folder / "Dog/Skills/Run.skl"));

  // Renamed behind the cache's back, a skill is let go of under the name it
  // was filed under: the next lookup of that name reads the file again.
  SkillRef leap = SkillRef::Share(actor->GetSkill("Jump", 0));
  leap->SetName("Leap");
  actor->DeleteSkill(leap.get());
  EXPECT_EQ(Cached(*actor), "");
  EXPECT_NE(actor->GetSkill("Jump", 0), leap.get());
}

struct Logged {
  std::vector<std::string> lines;
  static void Sink(int level, ZoString const& caption, ZoString const& subject, ZoString const& message, void* self) {
    static_cast<Logged*>(self)->lines.push_back(std::to_string(level) + "|" + caption.c_str() + "|" +
                                                 subject.c_str() + "|" + message.c_str());
  }
};

// A folder whose parent is missing is not made: nothing is written or
// logged, and the actor stays dirty. A save cleans every triangle set.
TEST(ZoSkillCacheSave, CreatesTheFolderWithItsSubfoldersWhereItsParentIsFoundAndCleansTriangleSets) {
  TempFolder folder;
  Logged log;
  ZoLogger::SetSink(&Logged::Sink, &log);
  ActorRef actor = SavableDog(folder, {"Walk"});
  ZoProtoNode* hips = actor->RootNode();
  hips->SetColModel(new ZoTriCube(ZoMaterial(), ZoVector3(1, 1, 1)));
  ASSERT_NE(hips->ColModel()->GetRoot(), nullptr);
  ZoTriangleSet* set = hips->ColModel()->GetTriangleSet();
  int32_t const triangles = set->GetNumTriangles();
  set->Triangle(0)[1] = set->Triangle(0)[0];  // names one vertex twice: dropped on saving
  actor->Path() = (folder.path() + "/missing/Dog/").c_str();
  EXPECT_EQ(actor->Save(ZoSkillFormatKeyframed), 0);
  ZoLogger::SetSink(nullptr, nullptr);
  EXPECT_TRUE(log.lines.empty());
  EXPECT_EQ(actor->IsDirty(), 1);

  actor->Path() = (folder.path() + "/Dog/").c_str();
  ASSERT_EQ(actor->Save(ZoSkillFormatNone), 1);
  EXPECT_EQ(actor->IsDirty(), 0);
  EXPECT_EQ(set->GetNumTriangles(), triangles - 1);
  EXPECT_EQ(hips->ColModel()->GetNumLeaves(), triangles - 1);  // one leaf a triangle, rebuilt
  EXPECT_EQ(Listing(folder / "Dog"),
            (std::vector<std::string>{folder / "Dog/Behaviors", folder / "Dog/Dog.act", folder / "Dog/Skills",
                                      folder / "Dog/Sounds", folder / "Dog/Textures"}));
}

// A file that fails is logged by name and kind; the save still clears the
// dirty flag.

TEST(ZoSkillCacheSave, EveryInjectedFailureIsLoggedAndLeavesEachFileWholeAndNoTemporaryFile) {
  Logged log;
  ZoLogger::SetSink(&Logged::Sink, &log);
  for (ZoFault kind : {ZoFault::Write, ZoFault::Sync, ZoFault::Rename}) {
    for (int nth = 1; nth <= 3; ++nth) {
      SCOPED_TRACE(std::to_string(static_cast<int>(kind)) + " #" + std::to_string(nth));
      TempFolder folder;
      ActorRef actor = SavableDog(folder, {"Walk", "Run"});
      ASSERT_EQ(actor->Save(ZoSkillFormatKeyframed), 1);
      std::vector<std::string> files = {folder / "Dog/Dog.act", folder / "Dog/Skills/Walk.skl",
                                        folder / "Dog/Skills/Run.skl"};
      std::vector<Bytes> before;
      for (auto const& file : files) before.push_back(FileBytes(file));

      actor->Version() = 2;  // every file changes
      actor->GetSkill("walk", 0)->InitJoint(1)->Insert(Key(10, 9.0f));
      actor->GetSkill("run", 0)->SetSampleRate(60);
      actor->MarkDirty();
      log.lines.clear();
      ZoPlatform::InjectFault(kind, nth);
      EXPECT_EQ(actor->Save(ZoSkillFormatKeyframed), 0);
      ZoPlatform::InjectFault(kind, 0);
      EXPECT_EQ(actor->IsDirty(), 0);
      std::string const failed = fs::path(files[static_cast<size_t>(nth - 1)]).filename().string();
      EXPECT_EQ(log.lines, std::vector<std::string>{"0|Orvanta|Dog|Failed to write the " + failed +
                                                    (nth == 1 ? " actor file." : " skill file.")});

      // Files are written actor first, then the skills in cache order: the
      // nth is the old one, those before it new, those after it new too.
      for (size_t i = 0; i < files.size(); ++i)
        EXPECT_EQ(FileBytes(files[i]) == before[i], static_cast<int>(i) == nth - 1) << files[i];
      for (auto const& entry : Listing(folder / "Dog"))
        EXPECT_EQ(fs::path(entry).filename().string()[0] == '.', false) << entry;
    }
  }
  ZoLogger::SetSink(nullptr, nullptr);
}

}  // namespace
