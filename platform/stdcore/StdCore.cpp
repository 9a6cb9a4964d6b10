namespace ZEB {

// The log library links the core library and calls nothing of it.
[[gnu::visibility("default")]] extern int const VEKStdCoreVersion;
int const VEKStdCoreVersion = 1;

}  // namespace ZEB
