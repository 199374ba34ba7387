// With VLGIM_TEST_PLAIN=1 a test program runs on the plain code alone, as on a machine without wide instructions.

#include <keys/InstructionSets.h>
#include <keys/KeyCodecs.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

class PlainCode : public testing::Environment {
    // Before the first test, as the choice is made once.
    void SetUp() override
    {
        if (!std::getenv("VLGIM_TEST_PLAIN"))
            return;
        vela::vlgim::keys::HoldTo(vela::vlgim::keys::InstructionSet::kBase);
        ASSERT_EQ(&vela::vlgim::keys::WideCodecs(), &vela::vlgim::keys::kPlainCodecs)
            << "the compiler's own baseline is wide";
    }
};

const testing::Environment* const g_plainCode = testing::AddGlobalTestEnvironment(new PlainCode);

}  // namespace
