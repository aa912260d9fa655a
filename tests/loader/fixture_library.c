/* A stand-in device library for the loader tests. */
int QuilbyFixtureAnswer(int question) { return question + 1; }
