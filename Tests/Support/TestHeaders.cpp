// Empty: the target of this file exists to compile the test framework's headers once for all tests.
