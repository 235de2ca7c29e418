/*
 * The first process of the guest: mounts what programs expect, runs the one program there is,
 * reports how it ended on the console, and switches the machine off. Its folder has `arguments` and
 * `environment`, each entry ended by a null byte; the first argument is the program.
 */
#include <fcntl.h>
#include <libgen.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#define MAX_ENTRIES 256

static char *entries_of(const char *folder, const char *name, char **entries)
{
    char path[512], *text = calloc(1, 65536), *entry = text;
    ssize_t length;
    int count = 0;
    int file;

    snprintf(path, sizeof(path), "%s/%s", folder, name);
    file = open(path, O_RDONLY);
    length = file < 0 ? 0 : read(file, text, 65535);
    if (file >= 0)
        close(file);
    while (length > 0 && entry < text + length && count < MAX_ENTRIES - 1) {
        entries[count++] = entry;
        entry += strlen(entry) + 1;
    }
    entries[count] = NULL;
    return text;
}

static void mount_file_systems(void)
{
    mount("proc", "/proc", "proc", 0, NULL);
    mount("sysfs", "/sys", "sysfs", 0, NULL);
    /* The only places where the guest can write. */
    mkdir("/dev/shm", 01777);
    mount("tmpfs", "/dev/shm", "tmpfs", 0, NULL);
    mount("tmpfs", "/run", "tmpfs", 0, NULL);
}

/* The kernel's own messages go elsewhere, so nothing but the program writes here. */
static void open_console(void)
{
    int console = open("/dev/tty0", O_RDWR);

    dup2(console, 0);
    dup2(console, 1);
    dup2(console, 2);
}

/* The program's exit status, or 128 and the signal that ended it. Orphans are waited for on the
 * way. */
static int run(const char *folder)
{
    char *arguments[MAX_ENTRIES], *environment[MAX_ENTRIES];
    pid_t child, ended;
    int status = 0;

    entries_of(folder, "arguments", arguments);
    entries_of(folder, "environment", environment);
    if (!arguments[0])
        return 127;
    child = fork();
    if (child == 0) {
        setsid();
        if (chdir("/run") == 0)
            execve(arguments[0], arguments, environment);
        perror(arguments[0]);
        _exit(127);
    }
    do {
        ended = wait(&status);
    } while (ended != child && ended > 0);
    if (ended != child)
        return 126;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

int main(int count, char **names)
{
    int status;

    (void)count;
    open_console();
    mount_file_systems();
    status = run(dirname(names[0]));
    kill(-1, SIGKILL);
    printf("\nguest: the program ended with %d\n", status);
    fflush(stdout);
    sync();
    reboot(RB_POWER_OFF);
    return 1;
}
