// A library the image-log tests load and unload at run time.
extern "C" __attribute__((visibility("default"))) int tarnwellTestLibraryAnswer() {
    return 42;
}
