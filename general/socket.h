/*
 * UDP and TCP over IPv4 sockets.
 *
 * A socket is the system's descriptor. Addresses (32 bit) and ports (16 bit) are in host byte order, in text
 * dotted decimal. There is no shared state: any thread may call, on distinct descriptors. Failures that are
 * reported go to standard error as "setsockopt() failed: <reason>". The failure value differs by function,
 * and a socket made by a function that then fails stays open.
 */
#ifndef GENERAL_SOCKET_H
#define GENERAL_SOCKET_H

#include <cstdint>

/** Nothing to set up. */
void Socket_Init();
/** Nothing to tear down. */
void Socket_Term();

/** Address from text; 0xFFFFFFFF when it does not parse. The classic forms ("0", "10.1") are accepted. */
std::uint32_t Socket_Str2Addr(const char* pc_ip);
/** Writes an address as text into `buffer` (16 bytes) and returns it. */
char* Socket_Addr2Str(std::uint32_t ip, char* buffer);
/**
 * Text of the first IPv4 or IPv6 address of the named interface, null when it has none. The caller releases
 * it with free().
 */
char* Socket_GetMyAddr(const char* theinterface);
/** Writes the hardware address of "eth0" into `buff` (18 bytes), zeros when there is none; returns `buff`. */
char* Socket_GetMacAddr(char* buff);

/** UDP socket for sending, with a send buffer of 1 MiB; -1 on failure. */
int Socket_UDPSocket();
/** UDP socket for receiving on a port, with a receive buffer of 5 MiB; 0 on failure. */
int Socket_UDPServer(std::uint16_t localPort);
/** UDP socket on a port that has joined a group on the default interface; 0 on failure. */
int Socket_MUDPServer(std::uint32_t groupaddr, std::uint16_t groupPort);
/** Listening TCP socket; -1 on failure. */
int Socket_TCPServer(std::uint16_t localPort);
/** TCP socket connected to a host name or dotted address; -1 on failure. */
int Socket_TCPClient(const char* foreignAddress, std::uint16_t foreignPort);
/** Next connection of a listening socket; -1 on failure, without a report. */
int Socket_Accept(int socket);
/** Closes the descriptor. */
void Socket_Close(int socket);

/**
 * Sends `bufferLen` bytes in datagrams of at most 32,768 bytes, in order. Returns the bytes of the datagrams
 * that went out whole.
 */
int Socket_SendTo(int socket, const void* buff, int bufferLen, std::uint32_t destaddr, std::uint16_t dstport);
/** Receives one datagram and its sender; returns its size in bytes, -1 on failure. */
int Socket_ReceiveFrom(int socket, void* buff, int bufferLen, std::uint32_t* srcddr, std::uint16_t* srcport);
/** Sends once; returns 0 (not the count) on success, -1 on failure. */
int Socket_Send(int socket, const void* buffer, int bufferLen);
/** Receives once; returns the count in bytes, 0 when the peer has closed, -1 on failure. */
int Socket_Recv(int socket, void* buffer, int bufferLen);
/** Waits at most 3 ms for something to receive; 1 = readable, 0 = not, -1 on failure. */
int Socket_IsRxPacket(int socket);
/** Waits at most `us` microseconds for something to receive; 1 = readable, 0 = not, -1 on failure. */
int Socket_IsRxPacketUS(int socket, std::int32_t us);
/** Writes the peer's address as text into `address` (16 bytes); 0, or -1 on failure. */
int Socket_GetForeignAddress(int socket, char* address);

/**
 * Sets outgoing interface (0 = the system's choice), time-to-live and loop-back of multicast sending; 0
 * whatever comes of it.
 */
int Socket_SetMulticast(int Socket, int ttl, int isloop, std::uint32_t interface_ip);
/** Does nothing; returns 0. */
int Socket_JoinMulticast(int Socket, std::uint32_t group_ip, std::uint32_t interface_ip);
/** Does nothing; returns 0. */
int Socket_RemoveMulticast(int Socket);
/** Leaves a group on an interface; 0, or -1 on failure. */
int Socket_LeaveMulticast(int Socket, std::uint32_t group_ip, std::uint32_t interface_ip);
/** Joins a group on the default interface; returns `socket`, or 0 on failure. */
int Socket_MulticastServer(int socket, std::uint32_t groupaddr);

#endif
