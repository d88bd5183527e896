// Stands for what is compiled once for all tests.
