/* Only a name. */
typedef int fake_platform_empty;
