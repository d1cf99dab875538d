#include "main/lib/base/exceptions.h"

#include <array>
#include <cerrno>
#include <cstdio>

namespace ztlib {

namespace {

// Texts by error number. They are fixed vocabulary that clients match, spelling and capitals
// included, and the same on every target. Numbers without a row are null.
constexpr std::array<const char*, 132> errorTexts = [] {
  std::array<const char*, 132> t{};
  t[1] = "EPERM: Operation not permitted";
  t[2] = "ENOENT: No such file or directory";
  t[3] = "ESRCH: No such process";
  t[4] = "EINTR: Interrupted system call";
  t[5] = "EIO: I/O error";
  t[6] = "ENXIO: No such device or address";
  t[7] = "E2BIG: Argument list too long";
  t[8] = "ENOEXEC: Exec format error";
  t[9] = "EBADF: Bad file number";
  t[10] = "ECHILD: No child processes";
  t[11] = "EAGAIN: Try again";
  t[12] = "ENOMEM: Out of memory";
  t[13] = "EACCES: Permission denied";
  t[14] = "EFAULT: Bad address";
  t[15] = "ENOTBLK: Block device required";
  t[16] = "EBUSY: Device or resource busy";
  t[17] = "EEXIST: File exists";
  t[18] = "EXDEV: Cross-device link";
  t[19] = "ENODEV: No such device";
  t[20] = "ENOTDIR: Not a directory";
  t[21] = "EISDIR: Is a directory";
  t[22] = "EINVAL: Invalid argument";
  t[23] = "ENFILE: File table overflow";
  t[24] = "EMFILE: Too many open files";
  t[25] = "ENOTTY: Not a typewriter";
  t[26] = "ETXTBSY: Text file busy";
  t[27] = "EFBIG: File too large";
  t[28] = "ENOSPC: No space left on device";
  t[29] = "ESPIPE: Illegal seek";
  t[30] = "EROFS: Read-only file system";
  t[31] = "EMLINK: Too many links";
  t[32] = "EPIPE: Broken pipe";
  t[33] = "EDOM: Math argument out of domain of func";
  t[34] = "ERANGE: Math result not representable";
  t[35] = "EDEADLK: Resource deadlock would occur";
  t[36] = "ENAMETOOLONG: File name too long";
  t[37] = "ENOLCK: No record locks available";
  t[38] = "ENOSYS: Function not implemented";
  t[39] = "ENOTEMPTY: Directory not empty";
  t[40] = "ELOOP: Too many symbolic links encountered";
  t[42] = "ENOMSG: No message of desired type";
  t[43] = "EIDRM: Identifier removed";
  t[44] = "ECHRNG: Channel number out of range";
  t[45] = "EL2NSYNC: Level 2 not synchronized";
  t[46] = "EL3HLT: Level 3 halted";
  t[47] = "EL3RST: Level 3 Reset";
  t[48] = "ELNRNG: Link number out of range";
  t[49] = "EUNATCH: Protocol driver not attached";
  t[50] = "ENOCSI: No CSI structure available";
  t[51] = "EL2HLT: Level 2 halted";
  t[52] = "EBADE: Invalid exchange";
  t[53] = "EBADR: Invalid request descriptor";
  t[54] = "EXFULL: Exchange full";
  t[55] = "ENOANO: No anode";
  t[56] = "EBADRQC: Invalid request code";
  t[57] = "EBADSLT: Invalid slot";
  t[59] = "EBFONT: Bad font file format";
  t[60] = "ENOSTR: Device not a stream";
  t[61] = "ENODATA: No data available";
  t[62] = "ETIME: Timer expired";
  t[63] = "ENOSR: Out of streams resources";
  t[64] = "ENONET: Machine Is not on the network";
  t[65] = "ENOPKG: Package not installed";
  t[66] = "EREMOTE: Object Is remote";
  t[67] = "ENOLINK: Link has been severed";
  t[68] = "EADV: Advertise error";
  t[69] = "ESRMNT: Srmount error";
  t[70] = "ECOMM: Communication error on send";
  t[71] = "EPROTO: Protocol error";
  t[72] = "EMULTIHOP: Multihop attempted";
  t[73] = "EDOTDOT: RFS specific error";
  t[74] = "EBADMSG: Not a data message";
  t[75] = "EOVERFLOW: Value too large for defined data type";
  t[76] = "ENOTUNIQ: Name not unique on network";
  t[77] = "EBADFD: File descriptor in bad state";
  t[78] = "EREMCHG: Remote address changed";
  t[79] = "ELIBACC: Can not access a needed shared library";
  t[80] = "ELIBBAD: Accessing a corrupted shared library";
  t[81] = "ELIBSCN: .lib section in a.out corrupted";
  t[82] = "ELIBMAX: Attempting to link in too many shared libraries";
  t[83] = "ELIBEXEC: Cannot exec a shared library directly";
  t[84] = "EILSEQ: Illegal byte sequence";
  t[85] = "ERESTART: Interrupted system call should be restarted";
  t[86] = "ESTRPIPE: Streams pipe error";
  t[87] = "EUSERS: Too many users";
  t[88] = "ENOTSOCK: CSocket operation on non-socket";
  t[89] = "EDESTADDRREQ: Destination address required";
  t[90] = "EMSGSIZE: Message too long";
  t[91] = "EPROTOTYPE: Protocol wrong type for socket";
  t[92] = "ENOPROTOOPT: Protocol not available";
  t[93] = "EPROTONOSUPPORT: Protocol not supported";
  t[94] = "ESOCKTNOSUPPORT: CSocket type not supported";
  t[95] = "EOPNOTSUPP: Operation not supported on transport endpoint";
  t[96] = "EPFNOSUPPORT: Protocol family not supported";
  t[98] = "EADDRINUSE: CAddress already in use";
  t[99] = "EADDRNOTAVAIL: Cannot assign requested address";
  t[100] = "ENETDOWN: Network Is down";
  t[101] = "ENETUNREACH: Network Is unreachable";
  t[102] = "ENETRESET: Network dropped connection because of Reset";
  t[103] = "ECONNABORTED: Software caused connection abort";
  t[104] = "ECONNRESET: Connection Reset by peer";
  t[105] = "ENOBUFS: No buffer space available";
  t[106] = "EISCONN: Transport endpoint Is already connected";
  t[107] = "ENOTCONN: Transport endpoint Is not connected";
  t[108] = "ESHUTDOWN: Cannot send after transport endpoint shutdown";
  t[109] = "ETOOMANYREFS: Too many references: cannot splice";
  t[110] = "ETIMEDOUT: Connection timed out";
  t[111] = "ECONNREFUSED: Connection refused";
  t[112] = "EHOSTDOWN: Host Is down";
  t[113] = "EHOSTUNREACH: No route to host";
  t[114] = "EALREADY: Operation already in progress";
  t[115] = "EINPROGRESS: Operation now in progress";
  t[116] = "ESTALE: Stale NFS file handle";
  t[117] = "EUCLEAN: Structure needs cleaning";
  t[118] = "ENOTNAM: Not a XENIX named type file";
  t[119] = "ENAVAIL: No XENIX semaphores available";
  t[120] = "EISNAM: Is a named type file";
  t[121] = "EREMOTEIO: Remote I/O error";
  t[122] = "EDQUOT: Quota exceeded";
  t[123] = "ENOMEDIUM: No medium found";
  t[124] = "EMEDIUMTYPE: Wrong medium type";
  t[125] = "ECANCELED: Operation Canceled";
  t[126] = "ENOKEY: Required key not available";
  t[127] = "EKEYEXPIRED: Key has expired";
  t[128] = "EKEYREVOKED: Key has been revoked";
  t[129] = "EKEYREJECTED: Key was rejected by service";
  t[130] = "EOWNERDEAD: Owner died";
  t[131] = "ENOTRECOVERABLE: State not recoverable";
  return t;
}();

const char* ErrorText(int number) {
  if (number < 0 || number >= static_cast<int>(errorTexts.size()) || !errorTexts[number])
    return "Unknown error no";
  return errorTexts[number];
}

}  // namespace

CException::CException(const char* message) {
  std::snprintf(text, sizeof text, "Exception - %s", message);
}

CException::CException(const char* message, const char*, const char* source, int line) {
  std::snprintf(text, sizeof text, "Exception [%s:%d] - %s", source, line, message);
}

CStdLibErrException::CStdLibErrException() {
  const int number = errno;
  std::snprintf(text, sizeof text, "std lib error: %d [%s]", number, ErrorText(number));
}

}  // namespace ztlib
