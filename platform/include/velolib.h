/** @file
 * Information about the machine, in the platform library libvelolib.so.0: its memory and its boot environment. */
#ifndef VELOLIB_H
#define VELOLIB_H

#ifdef __cplusplus
extern "C" {
#endif

/** Returns 1 on a machine with less than 128 MiB of RAM, otherwise 0; also 0 if the size cannot be determined. */
int veloenv_VeloHasLittleRAM(void);

/** Returns the value of a variable of the boot environment, or NULL if it is absent.
 *
 * Each call reads the environment again: the U-Boot environment described by /etc/fw_env.config (or the file named by
 * the environment variable QELVELO_FW_ENV_CONFIG). If that cannot be read, it reads the NAME=VALUE lines of
 * /etc/qel/bootenv (or of the file named by QELVELO_ENV_FILE), ignoring blank lines and lines that start with "#"; the
 * first line with a name counts.
 *
 * The text belongs to the library and is valid until the next call. */
const char* kelvar_getenv(const char* name);

#ifdef __cplusplus
}
#endif

#endif
