# Prints a value of a JSON file: cmake -DFILE=<file> "-DPATH=<name or index>;..." -P ReadJson.cmake
# Fails for a file that is no JSON, and for a value that it doesn't have.
file(READ "${FILE}" text)
string(JSON value GET "${text}" ${PATH})
message("${value}")
