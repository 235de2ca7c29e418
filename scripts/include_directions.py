#!/usr/bin/env python3
"""Checks that every folder includes only what stands below it, and that nobody but platform/ and bus/
knows the platform."""
import re
import subprocess
import sys

# What a folder may include beside itself and the public headers.
ALLOWED = {
    'platform': [],
    'tables': [],
    'diag': ['tables', 'platform'],
    'camera/assembler': ['hal/packet_sink.h', 'platform/simd_level.h'],
    'hal': ['platform'],
    'hal/requests': ['hal/kernel_driver.h', 'hal/kernel_requests.h', 'hal/request_table.h'],
    'image': ['tables', 'camera/z_camera.h', 'camera/z_object.h', 'platform'],
    'image/kernels': ['platform/simd_level.h'],
    'camera': ['hal', 'image', 'diag', 'camera/assembler', 'tables', 'platform'],
    'api': ['camera', 'image', 'hal', 'diag', 'bus', 'tables', 'platform'],
    'bus': ['hal', 'hal/requests', 'tables', 'platform'],
    'sim': ['hal/kernel_driver.h', 'hal/kernel_requests.h', 'hal/requests', 'platform'],
    'tools': ['platform', 'image'],
}
PLATFORM_HEADERS = re.compile(
    r'^<(windows\.h|pthread\.h|unistd\.h|sys/.*|dlfcn\.h|fcntl\.h|syslog\.h|linux/.*|winsock.*|setupapi\.h)>')


def folder_of(path):
    best = ''
    for folder in ALLOWED:
        if path.startswith(folder + '/') and len(folder) > len(best):
            best = folder
    return best


def main():
    problems = []
    for path in subprocess.check_output(['git', 'ls-files', '*.cpp', '*.h'], text=True).split():
        folder = folder_of(path)
        if not folder:
            continue
        for number, line in enumerate(open(path, encoding='utf-8'), 1):
            where = f'{path}:{number}'
            match = re.match(r'\s*#\s*include\s+(["<][^">]+[">])', line)
            if match:
                target = match.group(1)
                if folder not in ('platform', 'bus') and PLATFORM_HEADERS.match(target):
                    problems.append(f'{where}: platform header {target}')
                name = target[1:-1]
                other = folder_of(name)
                allowed = ALLOWED[folder]
                if target[0] == '"' and other and other != folder and name not in allowed and \
                        other not in allowed and not (other.startswith(folder + '/')) and \
                        not (folder.startswith(other + '/') and folder == 'image/kernels'):
                    problems.append(f'{where}: {folder}/ may not include {name}')
            elif re.match(r'\s*#\s*(if|elif|ifdef|ifndef).*(_WIN32|__linux__|__unix__|_MSC_VER)', line) \
                    and folder not in ('platform', 'bus'):
                problems.append(f'{where}: a platform #if')
    print('\n'.join(problems) if problems else 'directions hold')
    return 1 if problems else 0


sys.exit(main())
