"""A throwaway certificate authority for servers on loopback, created with openssl."""

import hashlib
import struct
import subprocess
from pathlib import Path

_CERTIFICATE_PROPERTY = 32  # the element of a serialised certificate that holds the certificate itself


def _openssl(*arguments):
    subprocess.run(
        ["openssl", *map(str, arguments)], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE
    )


class Authority:
    """An authority in a folder: signs server certificates, and writes a file that makes Windows trust it."""

    def __init__(self, folder, name="Loopback Test Authority"):
        self.folder = Path(folder)
        self.folder.mkdir(parents=True, exist_ok=True)
        self.key, self.certificate = self.folder / "ca.key", self.folder / "ca.pem"
        _openssl(
            "req",
            "-x509",
            "-newkey",
            "rsa:2048",
            "-nodes",
            "-days",
            "7",
            "-subj",
            f"/CN={name}",
            "-keyout",
            self.key,
            "-out",
            self.certificate,
        )

    def pem(self):
        """Returns the path of a file with the authority's own key and certificate."""
        path = self.folder / "ca-both.pem"
        path.write_bytes(self.key.read_bytes() + self.certificate.read_bytes())
        return path

    def issue(self, *hosts, days=7):
        """Returns the path of a file with the key and the certificate of a server with these names."""
        request, extensions = self.folder / "server.csr", self.folder / "server.ext"
        key, certificate = self.folder / "server.key", self.folder / "server.crt"
        extensions.write_text("subjectAltName=" + ",".join(f"DNS:{host}" for host in hosts) + "\n")
        _openssl(
            "req",
            "-newkey",
            "rsa:2048",
            "-nodes",
            "-subj",
            f"/CN={hosts[0]}",
            "-keyout",
            key,
            "-out",
            request,
        )
        _openssl(
            "x509",
            "-req",
            "-in",
            request,
            "-CA",
            self.certificate,
            "-CAkey",
            self.key,
            "-CAcreateserial",
            "-days",
            days,
            "-extfile",
            extensions,
            "-out",
            certificate,
        )
        pem = self.folder / "server.pem"
        pem.write_bytes(key.read_bytes() + certificate.read_bytes())
        return pem

    def registry_file(self):
        """Returns the path of a registry file that makes the current user trust the authority."""
        der_path = self.folder / "ca.der"
        _openssl("x509", "-in", self.certificate, "-outform", "DER", "-out", der_path)
        der = der_path.read_bytes()
        blob = struct.pack("<III", _CERTIFICATE_PROPERTY, 1, len(der)) + der
        path = self.folder / "trust.reg"
        path.write_text(
            "REGEDIT4\n\n[HKEY_CURRENT_USER\\Software\\Microsoft\\SystemCertificates\\Root\\Certificates\\"
            + hashlib.sha1(der).hexdigest().upper()
            + ']\n"Blob"=hex:'
            + ",".join(f"{byte:02x}" for byte in blob)
            + "\n"
        )
        return path
