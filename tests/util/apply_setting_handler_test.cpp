#include <string>

#include "test_support.hpp"
#include "vonautil.h"

namespace {

std::string calls;

// Takes the settings whose name starts with its data character, answering with the character.
int take_own(apply_setting_handler* handler, const char* name, const char* value) {
  calls += std::string(1, (char)handler->data) + ":" + name + "=" + value + " ";
  return name[0] == handler->data ? handler->data : 0;
}

}  // namespace

TEST(ApplySettingHandler, TheFirstHandlerThatTakesASettingEndsTheChain) {
  for (int data : {'a', 'b', 'a'}) register_apply_setting_handler(apply_setting_handler_create(data, nullptr, take_own));
  EXPECT_EQ('a', invoke_apply_setting_handler("audio", "1"));
  EXPECT_EQ('b', invoke_apply_setting_handler("brightness", "2"));
  EXPECT_EQ(0, invoke_apply_setting_handler("contrast", "3"));
  EXPECT_EQ("a:audio=1 a:brightness=2 b:brightness=2 a:contrast=3 b:contrast=3 a:contrast=3 ", calls);

  static int freed = 0;
  apply_setting_handler_free(apply_setting_handler_create(5, [](apply_setting_handler* h) { freed += h->data; }, take_own));
  apply_setting_handler_free(apply_setting_handler_create(6, nullptr, take_own));
  EXPECT_EQ(5, freed);
  EXPECT_DEATH(apply_setting_handler_create(0, nullptr, nullptr),
               test::assertion_report("player/src/util/apply_setting_handler", 0, "apply_setting_handler_create", "apply"));
  EXPECT_DEATH(  // room for 32 handlers in all: the 33rd registration fails
      {
        for (int i = 3; i < MAX_NUM_APPLY_SETTING_HANDLERS; ++i) register_apply_setting_handler(apply_setting_handler_create('z', nullptr, take_own));
        fprintf(stderr, "32 registered\n");
        register_apply_setting_handler(apply_setting_handler_create('z', nullptr, take_own));
      },
      "32 registered\n.*" + test::assertion_report("player/src/util/apply_setting_handler", 0, "register_apply_setting_handler",
                                                   "num_apply_setting_handlers < MAX_NUM_APPLY_SETTING_HANDLERS"));
}
