// Pipes: one small byte-channel interface (Nym_pipe) and its forms under Nym_handle_pipe: an
// anonymous pipe that makes both of its ends, a pair of foreign handles, and the two ends of a
// named pipe.
//
// All report through a Nym_status and raise nothing for an ordinary failure. The classes have
// no locks: one reader and one writer may work on the two ends of one object at once, as the
// system allows. A read or write blocks its thread until the system answers; a read shorter
// than asked is normal.
//
// Ownership: the anonymous pipe and both named ends own their handles and close them once;
// they can be moved, not copied (a copy would close the handle twice, and two server objects
// on one instance would disconnect each other's client). A Nym_fdpair_pipe owns nothing and
// copies freely.
//
// On the host build the anonymous pipe and the handle pair exist over POSIX file descriptors
// (a handle is the descriptor, 0 meaning none); named pipes and security are Windows only.
#ifndef NYM_PIPE_H
#define NYM_PIPE_H

#include "nym/types.h"

namespace nym {

class Nym_security;
class Nym_status;

constexpr unsigned int NYM_S_PIPE_CREATE_FAILED = 0xC200003Fu;        // CreatePipe failed
constexpr unsigned int NYM_S_PIPE_WRITE_FAILED = 0xC2000041u;         // a write to an anonymous or handle-pair pipe failed
constexpr unsigned int NYM_S_PIPE_NO_WRITE_HANDLE = 0xC2000042u;      // the pipe has no write handle
constexpr unsigned int NYM_S_PIPE_READ_FAILED = 0xC2000043u;          // a read from an anonymous or handle-pair pipe failed
constexpr unsigned int NYM_S_PIPE_NO_READ_HANDLE = 0xC2000044u;       // the pipe has no read handle
constexpr unsigned int NYM_S_NAMED_PIPE_CREATE_FAILED = 0xC200004Cu;  // CreateNamedPipeW failed, over the system's code
constexpr unsigned int NYM_S_NAMED_PIPE_NOT_OPEN = 0xC200004Du;       // the named pipe isn't open
constexpr unsigned int NYM_S_NAMED_PIPE_OPEN_FAILED = 0xC200004Eu;    // the client couldn't open the pipe, over the system's code

// Which end of a named pipe an object is; the anonymous and handle-pair forms never set it.
enum Pipe_type {
  NYM_PIPE_SERVER = 0,
  NYM_PIPE_CLIENT = 1,
};

// The byte channel. Its virtual slots, in order: destructor, write, read.
class NYM_API Nym_pipe {
 public:
  virtual ~Nym_pipe();
  // Writes `size` bytes; answers how many went through.
  virtual uint64 write(const unsigned char* buffer, uint64 size, Nym_status& status) = 0;
  // Reads at most `size` bytes, blocking until some come; answers how many came.
  virtual uint64 read(unsigned char* buffer, uint64 size, Nym_status& status) = 0;

  // Meaningful on the named forms only.
  Pipe_type get_type() const { return m_type; }

 protected:
  Nym_pipe() = default;
  Nym_pipe(const Nym_pipe&) = default;
  Nym_pipe& operator=(const Nym_pipe&) = default;

  Pipe_type m_type = NYM_PIPE_SERVER;
};

// The level of the handle-based forms; it adds no member of its own.
class NYM_API Nym_handle_pipe : public Nym_pipe {
 public:
  ~Nym_handle_pipe() override;

 protected:
  Nym_handle_pipe() = default;
  Nym_handle_pipe(const Nym_handle_pipe&) = default;
  Nym_handle_pipe& operator=(const Nym_handle_pipe&) = default;
};

// Both ends of one anonymous pipe in one object: what write puts in, read takes out. Also the
// message pipe of Nym_thread. A read of an empty pipe blocks; once the write end is gone, a
// read of the empty pipe fails with NYM_S_PIPE_READ_FAILED.
class NYM_API Nym_anonymous_pipe : public Nym_handle_pipe {
 public:
  // NYM_S_PIPE_CREATE_FAILED over the system's code when the system refuses; the object then
  // has no handles, and reads and writes report NYM_S_PIPE_NO_READ_HANDLE and
  // NYM_S_PIPE_NO_WRITE_HANDLE. A non-null `security` gives both ends its descriptor.
  explicit Nym_anonymous_pipe(Nym_status& status, Nym_security* security = nullptr);
  // Takes the other's handles, leaving it with none.
  Nym_anonymous_pipe(Nym_anonymous_pipe&& other) noexcept;
  Nym_anonymous_pipe& operator=(Nym_anonymous_pipe&& other) noexcept;
  Nym_anonymous_pipe(const Nym_anonymous_pipe&) = delete;
  Nym_anonymous_pipe& operator=(const Nym_anonymous_pipe&) = delete;
  // Closes the read handle, then the write handle.
  ~Nym_anonymous_pipe() override;

  // The whole buffer, or 0 with NYM_S_PIPE_WRITE_FAILED over the system's code.
  uint64 write(const unsigned char* buffer, uint64 size, Nym_status& status) override;
  // NYM_S_PIPE_READ_FAILED over the system's code, with what the system reported read.
  uint64 read(unsigned char* buffer, uint64 size, Nym_status& status) override;

#if defined(_WIN32)
  // Ties `security` to the read handle, then to the write handle; as one Nym_security serves
  // one object, the second tie reports NYM_S_ALREADY_ASSOCIATED, which is what the caller sees.
  void add_security(Nym_security& security, Nym_status& status);
#endif

 private:
  friend class Nym_thread;
  // Ends the write side early, so that a reader waiting on the empty pipe is let go.
  void close_write_end() noexcept;

  void* m_read = nullptr;
  void* m_write = nullptr;
};

// A pair of handles made elsewhere (a child's standard streams, an inherited pipe), used as a
// pipe without owning them: the destructor closes nothing. Either handle may be null; the
// operation that needs it then reports NYM_S_PIPE_NO_READ_HANDLE or NYM_S_PIPE_NO_WRITE_HANDLE.
class NYM_API Nym_fdpair_pipe : public Nym_handle_pipe {
 public:
  Nym_fdpair_pipe(void* read_handle, void* write_handle);
  Nym_fdpair_pipe(const Nym_fdpair_pipe&) = default;
  Nym_fdpair_pipe& operator=(const Nym_fdpair_pipe&) = default;
  ~Nym_fdpair_pipe() override;

  // As Nym_anonymous_pipe's.
  uint64 write(const unsigned char* buffer, uint64 size, Nym_status& status) override;
  uint64 read(unsigned char* buffer, uint64 size, Nym_status& status) override;

#if defined(_WIN32)
  // As Nym_anonymous_pipe's.
  void add_security(Nym_security& security, Nym_status& status);
#endif

 private:
  void* m_read;
  void* m_write;
};

#if defined(_WIN32)
// How a client opens a named pipe: `mode` 0 read, 1 write, 2 both; any other value asks for no
// access at all.
struct NYM_API Nym_pipe_client_options {
  unsigned int mode = 2;
};

// How a server makes a named pipe. `mode` is told from the client's side: 0 the client reads
// (the server writes), 1 the client writes, 2 both; any other value opens the pipe for
// neither. The sizes are bytes, the time-out milliseconds (0: the system's 50 ms), and at most
// 255 instances of one name.
struct NYM_API Nym_pipe_server_options {
  unsigned int mode = 2;
  bool write_through = false;
  bool overlapped = false;  // I/O is still blocking for the caller
  unsigned int in_buffer_size = 4096;
  unsigned int out_buffer_size = 4096;
  unsigned int default_timeout = 0;
  unsigned int max_instances = 1;
};

// The server end of a named pipe, "\\.\pipe\" followed by the name: a byte stream. The
// destructor flushes, disconnects the client and closes the handle, so that the client can
// still read what was written.
//
// Reads and writes on either named end report only a closed object (NYM_S_NAMED_PIPE_NOT_OPEN):
// a failing call answers 0 bytes with a clean status, so the end of a named pipe, its peer gone,
// shows as 0 bytes read.
class NYM_API Nym_named_pipe_server : public Nym_handle_pipe {
 public:
  // NYM_S_NAMED_PIPE_CREATE_FAILED over the system's code when the system refuses (a name
  // holding U+0000 is refused with ERROR_INVALID_NAME rather than cut short). A non-null
  // `security` gives the pipe its descriptor; null means the system's default.
  Nym_named_pipe_server(const Wstring& name, const Nym_pipe_server_options& options, Nym_status& status,
                        Nym_security* security = nullptr);
  Nym_named_pipe_server(Nym_named_pipe_server&& other) noexcept;
  Nym_named_pipe_server& operator=(Nym_named_pipe_server&& other) noexcept;
  Nym_named_pipe_server(const Nym_named_pipe_server&) = delete;
  Nym_named_pipe_server& operator=(const Nym_named_pipe_server&) = delete;
  ~Nym_named_pipe_server() override;

  uint64 write(const unsigned char* buffer, uint64 size, Nym_status& status) override;
  uint64 read(unsigned char* buffer, uint64 size, Nym_status& status) override;

  // Blocks until a client connects; a client that connected already passes at once.
  // NYM_S_NAMED_PIPE_NOT_OPEN on a closed object.
  void wait_for_client(Nym_status& status) const;
  // Ties `security` to the pipe's handle; reports as Nym_security::associate_with_object does.
  void add_security(Nym_security& security, Nym_status& status);

 private:
  void release() noexcept;

  void* m_handle = nullptr;
  // An overlapped pipe does its I/O with a structure and an event of its own: one for reads
  // (and connecting), one for writes, so a reader and a writer may work at once.
  void* m_read_event = nullptr;
  void* m_write_event = nullptr;
};

// The client end of a named pipe: "\\" followed by `host` ("." for this machine), "\pipe\"
// and the name. It doesn't wait for a busy pipe: with no free instance it fails at once.
class NYM_API Nym_named_pipe_client : public Nym_handle_pipe {
 public:
  // NYM_S_NAMED_PIPE_OPEN_FAILED over the system's code when the pipe can't be opened (a name
  // or host holding U+0000 is refused with ERROR_INVALID_NAME).
  Nym_named_pipe_client(const Wstring& name, const Wstring& host, const Nym_pipe_client_options& options,
                        Nym_status& status);
  Nym_named_pipe_client(Nym_named_pipe_client&& other) noexcept;
  Nym_named_pipe_client& operator=(Nym_named_pipe_client&& other) noexcept;
  Nym_named_pipe_client(const Nym_named_pipe_client&) = delete;
  Nym_named_pipe_client& operator=(const Nym_named_pipe_client&) = delete;
  ~Nym_named_pipe_client() override;

  uint64 write(const unsigned char* buffer, uint64 size, Nym_status& status) override;
  uint64 read(unsigned char* buffer, uint64 size, Nym_status& status) override;

 private:
  void* m_handle = nullptr;
};
#endif

}  // namespace nym

#endif
