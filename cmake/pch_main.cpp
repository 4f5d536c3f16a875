// What a precompiled header is built along with.
int main()
{
    return 0;
}
