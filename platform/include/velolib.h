/** @file
 * What the platform library libvelolib.so.0 knows of the machine: its memory and its boot environment. */
#ifndef VELOLIB_H
#define VELOLIB_H

#ifdef __cplusplus
extern "C" {
#endif

/** 1 on a machine with less than 128 MiB of RAM, else 0; also 0 when it cannot be found out. */
int veloenv_VeloHasLittleRAM(void);

/** The value of a variable of the boot environment, or NULL when it is absent.
 *
 * The environment is read anew with each call: the U-Boot environment that /etc/fw_env.config (or the file that the
 * environment variable QELVELO_FW_ENV_CONFIG names) describes; on a machine where that cannot be read, the lines
 * NAME=VALUE of /etc/qel/bootenv (or of the file QELVELO_ENV_FILE names), where blank lines and lines that start with
 * "#" mean nothing and the first line of a name counts.
 *
 * The text belongs to the library and is good until the next call. */
const char* kelvar_getenv(const char* name);

#ifdef __cplusplus
}
#endif

#endif
