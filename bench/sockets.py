"""Holds N open TCP sockets (N/2 connections, both ends in this process) to HOST until stdin closes."""
import resource
import socket
import sys

host, n = sys.argv[1], int(sys.argv[2])
resource.setrlimit(resource.RLIMIT_NOFILE, (n + 256, n + 256))
server = socket.socket()
server.bind((host, 0))
server.listen(n)
port = server.getsockname()[1]
ends = []
for _ in range(n // 2):
    ends.append(socket.create_connection((host, port)))
    ends.append(server.accept()[0])
for s in ends[::2]:
    s.sendall(b"x" * 100)  # some bytes on every connection
print("ready", flush=True)
sys.stdin.read()
