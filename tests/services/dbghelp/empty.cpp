// A library without functions.
namespace {
[[maybe_unused]] constexpr int NOTHING = 0;
}
