// Functions of several kinds, in a library that is loaded late, with a map, COFF symbols and debug information.
namespace Engine {

struct Widget {
    int Spin(int turns);
};

int Visible(int value);

static __attribute__((noinline)) int Hidden(int value) {
    return value * 7 ^ 5;
}

__attribute__((noinline)) int Visible(int value) {
    return Hidden(value) + 1;
}

__attribute__((noinline)) int Widget::Spin(int turns) {
    return Visible(turns) - Hidden(turns + 1);
}

} // namespace Engine

extern "C" {
__declspec(dllexport) int FirstExport(int value);
__declspec(dllexport) int __stdcall SecondExport(int value);
}

int FirstExport(int value) {
    return Engine::Widget().Spin(value);
}

int __stdcall SecondExport(int value) {
    return Engine::Visible(value);
}
