// A program with none of the protections that products have.
int fnUnprotected(const char* text, unsigned long index);

int main(int count, char** arguments) {
    return fnUnprotected(arguments[0], static_cast<unsigned long>(count));
}
