/* A plug-in whose author forgot the entry point. */
__attribute__((visibility("default"))) int MVPlugInMain(void);
int MVPlugInMain(void)
{
    return 0;
}
