/* A library with nothing in it but, in most builds, a version resource. */
int sample_library;
