// The prototype database: keys ignoring case, the load hook, adding,
// removing, renaming and unique names; an actor folder saved and loaded
// back through the database on a tree whose names differ in case; and a
// stress of mixed operations from eight threads.
#include <zoactor/actor/ZoProtoDB.h>
#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoHookRecords.h>
#include <zoactor/foundation/ZoInterfaceRegistry.h>

#include "ZoActorTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <random>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

using namespace zoacttest;

namespace {

namespace fs = std::filesystem;

class ZoProtoDBTest : public ::testing::Test {
 protected:
  void TearDown() override { ZoProtoDB::RemoveAllPrototypes(); }
};

// A hook manager that counts prototype requests and supplies `supply`
// (when set) for them.
class PrototypeHook : public ZoAiHookManager {
 public:
  PrototypeHook() { ZoInterfaceRegistry::Register(INTERFACE_NAME, this); }
  ~PrototypeHook() override { ZoInterfaceRegistry::Unregister(INTERFACE_NAME); }
  int GetInterfaceName(char*, int, int&, int&) override { return 0; }
  int32_t AddRef() override { return 1; }
  int32_t Release() override { return 1; }
  int32_t HandleRequest(int32_t code, void* record) override {
    if (code != ZoHookLoadPrototype) return 0;
    ++requests;
    if (supply == nullptr) return 0;
    static_cast<ZoHookLoadPrototypeRecord*>(record)->prototype = supply;
    supply = nullptr;
    return 1;
  }
  std::atomic<int> requests{0};
  ZoProtoActor* supply = nullptr;
};

// A new actor named `name`, added to the database (which holds it).
ZoProtoActor* Added(char const* name) {
  auto* actor = new ZoProtoActor;
  actor->SetName(name);
  EXPECT_EQ(ZoProtoDB::AddPrototype(actor), 1);
  return actor;
}

TEST_F(ZoProtoDBTest, LoadsEachFileOnceUnderItsBaseName) {
  TempFolder folder;
  ASSERT_EQ(SavableDog(folder, {"Walk", "Run"})->Save(ZoSkillFormatKeyframed), 1);  // Dog with two skills
  int status = -1;
  ZoProtoActor* first = ZoProtoDB::GetPrototype((folder.path() + "\\Dog\\Dog.act").c_str(), status, 0);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(std::make_tuple(status, first->IsRegistered(), first->Skills().GetCount()), std::make_tuple(1, 1, 0));
  EXPECT_EQ(ZoProtoDB::GetPrototype((folder / "dog/dog.ACT").c_str(), status, 1), first);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(ZoProtoDB::PrototypeExists("dOG"), 1);

  EXPECT_EQ(ZoProtoDB::GetPrototype((folder / "Cat.act").c_str(), status, 1), nullptr);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(ZoProtoDB::PrototypeExists("Cat"), 0);
}

TEST_F(ZoProtoDBTest, TheHookSuppliesThePrototype) {
  TempFolder folder;
  PrototypeHook hook;
  ZoProtoActor* supplied = ActorWithSkillFiles(folder, {"Walk"}).release();
  hook.supply = supplied;
  int status = -1;
  EXPECT_EQ(ZoProtoDB::GetPrototype("nowhere/Dog.act", status, 1), supplied);
  // The hook's prototype comes as it is: its skills are not loaded.
  EXPECT_EQ(std::make_tuple(status, supplied->IsRegistered(), supplied->RefCount(), supplied->Skills().GetCount()),
            std::make_tuple(1, 1, 1, 0));
  EXPECT_EQ(ZoProtoDB::GetPrototype("DOG", status, 1), supplied);
  EXPECT_EQ(hook.requests, 1);
}

TEST_F(ZoProtoDBTest, AddRemoveRenameAndUniqueNames) {
  ZoProtoActor* cat = Added("Cat");
  ASSERT_EQ(cat->IsRegistered(), 1);
  ActorRef other(new ZoProtoActor);
  other->SetName("CAT");
  EXPECT_EQ(ZoProtoDB::AddPrototype(other.get()), 0);
  EXPECT_EQ(ZoProtoDB::RemovePrototype(other.get()), 0);  // the key holds another actor
  EXPECT_EQ(other->IsRegistered(), 0);

  EXPECT_EQ(ZoProtoDB::UniqueName("Dog"), "Dog");
  ZoProtoActor* dog = Added("DOG");
  Added("dog 1");
  EXPECT_EQ(ZoProtoDB::UniqueName("Dog"), "Dog 2");
  ActorRef copy(new ZoProtoActor(*dog));
  EXPECT_EQ(copy->Name(), "Copy of DOG");

  ActorRef held = ActorRef::Share(cat);
  EXPECT_EQ(ZoProtoDB::RemovePrototype(cat), 1);
  EXPECT_EQ(std::make_pair(cat->RefCount(), cat->IsRegistered()), std::make_pair(1, 0));
  held->SetName("Puss");  // unregistered: just renamed
  EXPECT_EQ(ZoProtoDB::PrototypeExists("Puss"), 0);

  // A registered actor renamed is refiled; renamed to a taken name, it
  // leaves and the database's reference passes to us.
  dog->SetName("Hound");
  EXPECT_EQ(ZoProtoDB::PrototypeExists("DOG") + 2 * ZoProtoDB::PrototypeExists("hound"), 2);
  dog->SetName("DOG 1");
  EXPECT_EQ(std::make_pair(dog->IsRegistered(), dog->RefCount()), std::make_pair(0, 1));
  dog->Release();
}

TEST_F(ZoProtoDBTest, RemoveAllReleasesEveryPrototype) {
  zotest::CountingAi data;
  Added("Lone")->SetUserData(&data);
  ActorRef held = ActorRef::Share(Added("Kept"));
  EXPECT_EQ(ZoProtoDB::RemoveAllPrototypes(), 1);
  EXPECT_EQ(data.releases, 1);  // destroyed
  EXPECT_EQ(ZoProtoDB::PrototypeExists("Lone") + ZoProtoDB::PrototypeExists("Kept"), 0);
  EXPECT_EQ(std::make_pair(held->RefCount(), held->IsRegistered()), std::make_pair(1, 0));
}

TEST_F(ZoProtoDBTest, FolderSavedAndLoadedOnAnotherCaseRoundTripsByteForByte) {
  TempFolder saved, mixed;
  ASSERT_EQ(SavableDog(saved, {"Walk", "Run"})->Save(ZoSkillFormatKeyframed), 1);
  // The same files under names of other case than the actor asks for.
  fs::create_directories(mixed / "DOG/sKILLS");
  std::pair<char const*, char const*> const files[] = {
      {"DOG/dOG.ACT", "Dog/Dog.act"}, {"DOG/sKILLS/wALK.SKL", "Dog/Skills/Walk.skl"}, {"DOG/sKILLS/RUN.skl", "Dog/Skills/Run.skl"}};
  for (auto [to, from] : files) fs::copy_file(saved / from, mixed / to);

  int status = -1;
  ZoProtoActor* dog = ZoProtoDB::GetPrototype((mixed / "dog/Dog.act").c_str(), status, 1);
  ASSERT_NE(dog, nullptr);
  EXPECT_EQ(dog->Skills().GetCount(), 2);
  EXPECT_NE(dog->GetSkill("Walk", 0), nullptr);
  ASSERT_EQ(dog->Save(ZoSkillFormatKeyframed), 1);
  for (auto [now, was] : files) EXPECT_EQ(FileBytes(mixed / now), FileBytes(saved / was)) << now;
  size_t entries = 0;
  for (auto const& entry : fs::recursive_directory_iterator(mixed.path())) entries += entry.is_regular_file() ? 1 : 0;
  EXPECT_EQ(entries, 3u);  // rewritten in place, nothing added
}

// Mixed operations from eight threads. Actors loaded from files are never
// removed, so each file must be loaded exactly once; actors made in memory
// are added, renamed and removed by the thread that made them.
TEST_F(ZoProtoDBTest, EightThreadsOfMixedOperations) {
  TempFolder folder;
  std::vector<std::string> files;
  for (char const* name : {"Ant", "Bee", "Cow", "Doe"}) {
    ActorRef actor = FigureActor(name);
    std::string path = folder / (std::string(name) + ".act");
    ASSERT_EQ(ZoProtoActor::WriteActorFile(path.c_str(), actor.get()), 1);
    files.push_back(path);
  }
  PrototypeHook hook;  // counts loads; supplies nothing
  std::atomic<ZoProtoActor*> loaded[4] = {};
  std::atomic<int> wrong{0};
  constexpr int kThreads = 8;
  constexpr int kOperations = 10000;

  auto work = [&](int seed) {
    std::mt19937 random(static_cast<uint32_t>(seed));
    std::vector<ActorRef> shared, own;
    for (int op = 0; op < kOperations; ++op) {
      int which = static_cast<int>(random() % 4);
      switch (random() % 6) {
        case 0: {
          int status = -1;
          ActorRef actor = ZoProtoDB::AcquirePrototype(files[which].c_str(), status, 0);
          ZoProtoActor* expected = nullptr;
          if (!loaded[which].compare_exchange_strong(expected, actor.get()) && expected != actor.get()) ++wrong;
          if (shared.size() < 8) shared.push_back(actor);
          break;
        }
        case 1:
          if (!shared.empty()) {
            ActorRef copy = shared[random() % shared.size()];
            shared.erase(shared.begin());
          }
          break;
        case 2: {
          ActorRef actor(new ZoProtoActor);
          actor->SetName(ZoProtoDB::UniqueName("Made"));
          if (ZoProtoDB::AddPrototype(actor.get()) == 1) own.push_back(ActorRef::Share(actor.release()));
          break;
        }
        case 3:
          if (!own.empty()) {
            ZoProtoActor* actor = own[random() % own.size()].get();
            bool wasRegistered = actor->IsRegistered() != 0;
            actor->SetName(ZoProtoDB::UniqueName("Renamed"));
            if (wasRegistered && actor->IsRegistered() == 0) actor->Release();  // the name was taken meanwhile
          }
          break;
        case 4:
          if (!own.empty()) {
            ZoProtoDB::RemovePrototype(own.back().get());
            own.pop_back();
          }
          break;
        default:
          if (ZoProtoDB::PrototypeExists(ZoProtoDB::UniqueName("Zed")) != 0) ++wrong;  // nobody adds Zed
          break;
      }
    }
  };
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) threads.emplace_back(work, t + 1);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(hook.requests, 4);
  for (auto const& actor : loaded) ASSERT_NE(actor.load(), nullptr);
}

}  // namespace
