// Links one layer whole, with only the layers below it: see src/CMakeLists.txt.
int main()
{
    return 0;
}
