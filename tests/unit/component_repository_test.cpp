#include "main/lib/base/component_repository.h"

#include "main/lib/base/exceptions.h"
#include "tests/support/common.h"

#include <new>

using namespace ztlib;

namespace {

std::vector<std::string> events;

template <int N>
struct IService : IComponent {};

template <int N>
struct CService : IService<N> {
  CService() { events.push_back("+" + std::to_string(N)); }
  ~CService() override { events.push_back("-" + std::to_string(N)); }
};

// Fetches another component in its constructor.
template <int N, int Other>
struct CUserOf : IService<N> {
  CUserOf() {
    Get<IService<Other>>();
    events.push_back("+" + std::to_string(N));
  }
  ~CUserOf() override { events.push_back("-" + std::to_string(N)); }
};

std::string PrintedBy(const std::function<void()>& work) {
  testing::internal::CaptureStdout();
  work();
  return testing::internal::GetCapturedStdout();
}

TEST(ComponentRepository, CreatesOnFirstUseAndDeletesInReverseOrder) {
  auto& repository = CComponentRepository::Instance();
  repository.Register<IService<1>, CService<1>>("One");
  repository.Register<IService<2>, CUserOf<2, 3>>("Two");
  repository.Register<IService<3>, CService<3>>("Three");
  events.clear();
  Get<IService<1>>();
  EXPECT_EQ(Get<IService<2>>(), Get<IService<2>>());
  PrintedBy([&] { repository.DeleteAll(); });
  const std::string critical = "[ComponentRepository] (CRITICAL) Component of '";
  EXPECT_NE(PrintedBy([&] { repository.DeleteAll(); })
                .find(critical + "Two' deleted twice!\n" + critical + "Three' deleted twice!\n" +
                      critical + "One' deleted twice!\n"),
            std::string::npos);
  // The caches were cleared with the components: no dangling pointer is handed out.
  Get<IService<1>>();
  EXPECT_EQ(events, (std::vector<std::string>{"+1", "+3", "+2", "-2", "-3", "-1", "+1"}));
}

// Fails the first time, for lack of memory or for another reason.
template <int N, class Failure>
struct CFailing : IService<N> {
  CFailing() {
    if (std::exchange(first, false)) throw Failure();
  }
  static inline bool first = true;
};

TEST(ComponentRepository, OnlyWantOfMemoryIsNotFinal) {
  auto& repository = CComponentRepository::Instance();
  repository.Register<IService<21>, CFailing<21, std::bad_alloc>>("Memory");
  repository.Register<IService<22>, CUserOf<22, 21>>("User");
  repository.Register<IService<23>, CFailing<23, std::exception>>("Other");
  EXPECT_THROW(Get<IService<22>>(), std::bad_alloc);
  EXPECT_NE(Get<IService<22>>(), nullptr);
  EXPECT_THROW(Get<IService<23>>(), std::exception);
  EXPECT_EQ(PrintedBy([] {
              EXPECT_EQ(MessageOf([] { Get<IService<23>>(); }), "Cycle in ComponentCreation");
            }),
            "\n\n -= Cycle in ComponentCreation (Other)! =- \n\n");
}

TEST(ComponentRepository, ReportsWhatIsMissingTwiceOrCircular) {
  const std::string printed = PrintedBy([] {
    auto& repository = CComponentRepository::Instance();
    EXPECT_EQ(TextOf([] { Get<IService<10>>(); }),
              "Exception [main/lib/base/component_repository:112] - Not registered component!");
    repository.Register<IService<11>, CUserOf<11, 12>>("Eleven");
    repository.Register<IService<12>, CUserOf<12, 11>>("Twelve");
    repository.Register<IService<12>, CService<12>>("Other");
    EXPECT_EQ(TextOf([] { Get<IService<11>>(); }),
              "Exception [main/lib/base/component_repository:99] - Cycle in ComponentCreation");
    // The failure is final, and it holds no lock.
    EXPECT_THROW(Get<IService<12>>(), CException);
  });
  EXPECT_EQ(printed.find("\n\n -= Not registered component! =- \n\n"
                         "\n-= Already registered component! =-\n"
                         "\n\n -= Cycle in ComponentCreation (Eleven)! =- \n\n"),
            0U);
}

}  // namespace
