#!/usr/bin/env python3
"""Normal clients, thousands of slow sockets beside them, then ten times more than is carried.

Called by crowd.sh with the URL of a calendar, the login, the server's process and its socket for
administrators. The crowds are processes of their own, so that what the normal clients measure is
the server. Prints rows for each phase; ends with 1 when the server did not hold its promises.
"""
import asyncio
import base64
import collections
import multiprocessing
import re
import resource
import socket
import statistics
import sys
import time
from urllib.parse import urlsplit

SLOW_SOCKETS = 5_000
NORMAL_CLIENTS = 4
CROWD = 2_600  # ten times what fits before and into the workers
CROWD_PROCESSES = 2
SECONDS = 8

url, login, process, admin = urlsplit(sys.argv[1]), *sys.argv[2:]
address = (url.hostname, url.port)
HEAD = (f'Host: {url.netloc}\r\nAuthorization: Basic '
        f'{base64.b64encode(login.encode()).decode()}\r\n').encode()
WANTED = b'<propfind xmlns="DAV:"><prop><getetag/><getcontenttype/></prop></propfind>'
LISTING = (b'PROPFIND ' + url.path.encode() + b' HTTP/1.1\r\n' + HEAD +
           b'Depth: 1\r\nContent-Length: %d\r\n\r\n' % len(WANTED) + WANTED)
UPLOAD = (b'PUT ' + url.path.encode() + b'slow.ics HTTP/1.1\r\n' + HEAD +
          b'Content-Length: 30000\r\n\r\n' + b'x' * 20_000)
SLOW_BEGINNINGS = [b'', LISTING[:40], UPLOAD]


async def connect():
    sock = socket.socket()
    sock.setblocking(False)
    await asyncio.get_running_loop().sock_connect(sock, address)
    return sock


async def exchange():
    """Status and seconds of one request; status 0 when the connection broke."""
    loop = asyncio.get_running_loop()
    began = time.monotonic()
    answer, piece = b'', b'-'
    try:
        with await connect() as sock:
            await loop.sock_sendall(sock, LISTING)
            while piece:
                piece = await loop.sock_recv(sock, 1 << 18)
                answer = answer or piece
    except OSError:
        answer = b''
    return int(answer[9:12] or 0), time.monotonic() - began


async def be_slow(beginning):
    """A socket that sends a byte now and then; begins again when it is let go."""
    loop = asyncio.get_running_loop()
    while True:
        try:
            with await connect() as sock:
                await loop.sock_sendall(sock, beginning)
                while not await ended(sock):
                    await asyncio.sleep(3)
                    if beginning:
                        await loop.sock_sendall(sock, b'x')
        except OSError:
            await asyncio.sleep(1)


async def ended(sock):
    try:
        return sock.recv(1) == b''
    except BlockingIOError:
        return False


async def be_many():
    while True:
        await exchange()


def crowd(clients):
    """Runs coroutines in a process of their own until it is ended."""
    async def all_of_them():
        await asyncio.gather(*(make(*arguments) for make, *arguments in clients))

    allow_sockets()
    asyncio.run(all_of_them())


def start(clients):
    child = multiprocessing.Process(target=crowd, args=(clients,), daemon=True)
    child.start()
    return child


def allow_sockets():
    most = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (most, most))


def memory():
    with open(f'/proc/{process}/status', encoding='ascii') as status:
        return next(int(line.split()[1]) // 1024 for line in status if line.startswith('VmRSS'))


def metrics():
    """How many requests the server has answered by status, and how many connections are open."""
    with socket.socket(socket.AF_UNIX) as sock:
        sock.connect(admin)
        sock.sendall(b'GET /metrics HTTP/1.0\r\n\r\n')
        text = b''.join(iter(lambda: sock.recv(1 << 16), b'')).decode()
    counts = collections.Counter()
    for status, count in re.findall(r'_requests_total{.*status="(\d+)"} (\d+)', text):
        counts[status] += int(count)
    return counts, int(re.search(r'^cvwebdavd_connections (\d+)', text, re.M)[1])


async def phase(name, seconds=SECONDS):
    """Normal clients, one request after the other. Result: the statuses they got, the most memory."""
    times, most, before = {}, memory(), metrics()[0]
    began = time.monotonic()

    async def client():
        while time.monotonic() < began + seconds:
            status, took = await exchange()
            times.setdefault(status, []).append(took * 1000)

    running = [asyncio.create_task(client()) for _ in range(NORMAL_CLIENTS)]
    while any(not task.done() for task in running):
        await asyncio.sleep(0.1)
        most = max(most, memory())
    now, connections = metrics()
    passed = time.monotonic() - began
    for status, count in sorted((now - before).items()):
        taken = sorted(times.get(int(status), []))
        felt = f'{statistics.median(taken):.0f} | {taken[len(taken) * 99 // 100]:.0f}' \
            if taken else '- | -'
        print(f'| {name} | {connections} | {most} | {status} | {count / passed:.0f} | {felt} |',
              flush=True)
    return set(times), most


async def main():
    print('| phase | connections | MB at most | status | answers/s | median ms | 99 of 100 ms |\n'
          '|---|---|---|---|---|---|---|')
    await phase('warming up', 2)
    alone, _ = await phase('normal load')
    start([(be_slow, SLOW_BEGINNINGS[i % len(SLOW_BEGINNINGS)]) for i in range(SLOW_SOCKETS)])
    while metrics()[1] < SLOW_SOCKETS * 9 // 10:
        await asyncio.sleep(0.1)
    beside, slow_memory = await phase('beside slow sockets')
    many = [start([(be_many,)] * (CROWD // CROWD_PROCESSES)) for _ in range(CROWD_PROCESSES)]
    while metrics()[0]['503'] == 0:
        await asyncio.sleep(0.1)
    too_much, most_memory = await phase('ten times too much')
    for child in many:
        child.kill()
        child.join()
    began = time.monotonic()
    while (await exchange())[0] != 207:
        pass
    print(f'| recovered after {time.monotonic() - began:.1f} s | | | | | | |')
    after, _ = await phase('at once afterwards')
    promises = {
        'normal load is served': alone == beside == {207},
        'too much is refused, not broken off': too_much <= {207, 503},
        'all is as before at once afterwards': after == {207},
        'memory is flat': most_memory < slow_memory + 256,
    }
    broken = [promise for promise, held in promises.items() if not held]
    print('\n'.join(f'BROKEN: {promise}' for promise in broken))
    sys.exit(1 if broken else 0)


if __name__ == '__main__':
    asyncio.run(main())
