/* For a library that only needs to exist. */
typedef int fake_platform_empty;
