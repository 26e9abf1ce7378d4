// A function to be found by its name, in a library whose every line has symbols that Wine can read.
extern "C" __declspec(dllexport) int ZelkTestLandmark(int value);

int ZelkTestLandmark(int value) {
    return value * 3;
}
