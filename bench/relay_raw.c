// SPDX-License-Identifier: GPL-2.0-or-later
// A minimal relay in C: one receive and one send call per datagram, in both directions.
//   relay_raw LISTEN_PORT TARGET_PORT

#define _GNU_SOURCE
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/socket.h>

enum {
    maxDatagramBytes = 65507,
    receiveBufferBytes = 8 * 1024 * 1024, // as in the engine
};

static struct sockaddr_in loopback(const char *port)
{
    struct sockaddr_in address = {.sin_family = AF_INET, .sin_port = htons((unsigned short)atoi(port))};
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

static int udpSocket(void)
{
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int size = receiveBufferBytes;
    if (fd < 0 || setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size) < 0) {
        perror("socket");
        exit(1);
    }
    return fd;
}

int main(int argc, char **argv)
{
    static char datagram[maxDatagramBytes];
    if (argc != 3) {
        fprintf(stderr, "usage: relay_raw LISTEN_PORT TARGET_PORT\n");
        return 2;
    }
    const int client = udpSocket();
    const int target = udpSocket();
    const struct sockaddr_in listenAddress = loopback(argv[1]);
    const struct sockaddr_in targetAddress = loopback(argv[2]);
    if (bind(client, (const struct sockaddr *)&listenAddress, sizeof listenAddress) < 0 ||
        connect(target, (const struct sockaddr *)&targetAddress, sizeof targetAddress) < 0) {
        perror("relay_raw");
        return 1;
    }
    struct sockaddr_in sender = {0};
    struct pollfd sockets[2] = {{.fd = client, .events = POLLIN}, {.fd = target, .events = POLLIN}};
    for (;;) {
        poll(sockets, 2, -1);
        while (sockets[0].revents) {
            socklen_t senderBytes = sizeof sender;
            const ssize_t size =
                recvfrom(client, datagram, sizeof datagram, MSG_DONTWAIT, (struct sockaddr *)&sender, &senderBytes);
            if (size < 0) {
                break;
            }
            send(target, datagram, (size_t)size, 0);
        }
        while (sockets[1].revents) {
            const ssize_t size = recv(target, datagram, sizeof datagram, MSG_DONTWAIT);
            if (size < 0) {
                break;
            }
            sendto(client, datagram, (size_t)size, 0, (const struct sockaddr *)&sender, sizeof sender);
        }
    }
}
