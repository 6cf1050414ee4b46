#!/bin/sh
# make-test-pki.sh OUTDIR: a throw-away PKI for TLS tests, made with the openssl command line.
#
# Files written to OUTDIR (PEM; every key is RSA 2048 without a passphrase):
#   ca.pem ca.key                     root CA "Kelo Test Root CA"
#   intermediate.pem intermediate.key intermediate CA, signed by the root (path length 0)
#   server.pem server.key             server certificate for 127.0.0.1 and localhost, signed by
#                                     the intermediate; server-chain.pem = server + intermediate
#   client.pem client.key             client certificate (clientAuth), signed by the
#                                     intermediate; client-chain.pem = client + intermediate
#   expired.pem expired.key           server certificate valid 2020-01-01 .. 2021-01-01
#                                     (expired-chain.pem with the intermediate)
#   notyet.pem notyet.key             server certificate valid from 2090-01-01 (notyet-chain.pem)
#   foreign-ca.pem foreign-ca.key     an unrelated root CA
#   foreign-server.pem foreign-server.key  server certificate for 127.0.0.1 signed by it
#   ca-bundle.pem                     root + intermediate (trust file for clients)
#   COMPLETE                          written last; its presence makes the script skip
#
# Idempotent: when OUTDIR/COMPLETE exists nothing is done. Safe to run concurrently: the files
# are made in a staging directory beside OUTDIR and renamed into place in one step, so readers
# never see a half-made set (an OUTDIR that already holds other files is filled by copying).
# Leaf certificates go through "openssl ca" so that start and end dates can be set explicitly
# (no clock tricks needed).
set -eu

if [ $# -ne 1 ]; then
    echo "usage: $0 OUTDIR" >&2
    exit 64
fi
OUT=$1
if [ -f "$OUT/COMPLETE" ]; then
    exit 0
fi
mkdir -p "$(dirname "$OUT")"
WORK=$(mktemp -d "${TMPDIR:-/tmp}/kelo-pki.XXXXXX")
STAGE=$(mktemp -d "$OUT.staging.XXXXXX")
trap 'rm -rf "$WORK" "$STAGE"' EXIT

cat > "$WORK/ext.cnf" <<'CNF'
[ca_ext]
basicConstraints = critical, CA:true
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid:always

[intermediate_ext]
basicConstraints = critical, CA:true, pathlen:0
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid:always

[server_ext]
basicConstraints = critical, CA:false
keyUsage = critical, digitalSignature, keyEncipherment
extendedKeyUsage = serverAuth
subjectAltName = IP:127.0.0.1, DNS:localhost
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid:always

[client_ext]
basicConstraints = critical, CA:false
keyUsage = critical, digitalSignature, keyEncipherment
extendedKeyUsage = clientAuth
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid:always
CNF

# A minimal "openssl ca" set-up per issuer: database, serial, output directory.
ca_config() { # NAME
    dir="$WORK/ca-$1"
    mkdir -p "$dir/new"
    : > "$dir/index.txt"
    echo 1000 > "$dir/serial"
    cat > "$dir/ca.cnf" <<CNF
[ca]
default_ca = this_ca
[this_ca]
dir = $dir
database = $dir/index.txt
new_certs_dir = $dir/new
serial = $dir/serial
default_md = sha256
policy = policy_any
unique_subject = no
copy_extensions = none
[policy_any]
commonName = supplied
organizationName = optional
CNF
}

newkey() { # NAME
    openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out "$WORK/$1.key" 2>/dev/null
}

selfsigned() { # NAME SUBJECT
    newkey "$1"
    openssl req -new -x509 -key "$WORK/$1.key" -subj "$2" -days 3650 -sha256 \
        -extensions ca_ext -config "$WORK/ext.cnf" -out "$WORK/$1.pem"
}

# issue NAME SUBJECT ISSUER EXTENSIONS STARTDATE ENDDATE
issue() {
    newkey "$1"
    openssl req -new -key "$WORK/$1.key" -subj "$2" -out "$WORK/$1.csr" \
        -config "$WORK/ext.cnf" 2>/dev/null
    [ -f "$WORK/ca-$3/ca.cnf" ] || ca_config "$3"
    openssl ca -batch -notext -config "$WORK/ca-$3/ca.cnf" -cert "$WORK/$3.pem" \
        -keyfile "$WORK/$3.key" -in "$WORK/$1.csr" -out "$WORK/$1.pem" \
        -extfile "$WORK/ext.cnf" -extensions "$4" -startdate "$5" -enddate "$6" 2>/dev/null
}

NOW_START=20240101000000Z
FAR_END=20700101000000Z
selfsigned ca "/O=Kelo Test/CN=Kelo Test Root CA"
issue intermediate "/O=Kelo Test/CN=Kelo Test Intermediate CA" ca intermediate_ext \
    "$NOW_START" "$FAR_END"
issue server "/O=Kelo Test/CN=127.0.0.1" intermediate server_ext "$NOW_START" "$FAR_END"
issue client "/O=Kelo Test/CN=Kelo Test Client" intermediate client_ext "$NOW_START" "$FAR_END"
issue expired "/O=Kelo Test/CN=127.0.0.1" intermediate server_ext \
    20200101000000Z 20210101000000Z
issue notyet "/O=Kelo Test/CN=127.0.0.1" intermediate server_ext \
    20900101000000Z 20910101000000Z
selfsigned foreign-ca "/O=Elsewhere/CN=Foreign Root CA"
issue foreign-server "/O=Elsewhere/CN=127.0.0.1" foreign-ca server_ext "$NOW_START" "$FAR_END"

for name in server client expired notyet; do
    cat "$WORK/$name.pem" "$WORK/intermediate.pem" > "$WORK/$name-chain.pem"
done
cat "$WORK/ca.pem" "$WORK/intermediate.pem" > "$WORK/ca-bundle.pem"

for name in ca intermediate server client expired notyet foreign-ca foreign-server; do
    cp "$WORK/$name.pem" "$WORK/$name.key" "$STAGE/"
done
cp "$WORK"/*-chain.pem "$WORK/ca-bundle.pem" "$STAGE/"
chmod 600 "$STAGE"/*.key
chmod 755 "$STAGE"
date -u +%Y-%m-%dT%H:%M:%SZ > "$STAGE/COMPLETE"

rmdir "$OUT" 2>/dev/null || true # an empty OUTDIR is replaced by the rename
if mv -T "$STAGE" "$OUT" 2>/dev/null; then
    exit 0
fi
if [ -f "$OUT/COMPLETE" ]; then
    exit 0 # another run finished first; its set stands
fi
cp -p "$STAGE"/* "$OUT/"
