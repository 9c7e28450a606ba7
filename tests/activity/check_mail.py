#!/usr/bin/env python3
"""Reads a mail file with Python's own email package and checks it.

check_mail.py MAIL SUBJECT BODY_FILE [NAME CONTENT_FILE]...

The mail must parse under the strict default policy, carry the subject, a
text body equal to BODY_FILE's text (line ends aside), and exactly the
attachments given, in order, each under its file name with the bytes of its
content file. Prints what differs and exits 1, or exits 0.
"""

import email
import email.policy
import sys


def main(argv):
    if len(argv) < 4 or len(argv) % 2 != 0:
        print(__doc__)
        return 2
    mail_file, subject, body_file = argv[1:4]
    expected = list(zip(argv[4::2], argv[5::2]))
    with open(mail_file, "rb") as f:
        message = email.message_from_binary_file(f, policy=email.policy.default)

    problems = []
    if message.defects:
        problems.append(f"defects: {message.defects}")
    if message["Subject"] != subject:
        problems.append(f"subject {message['Subject']!r}, expected {subject!r}")
    for header in ("From", "To", "Date", "Message-ID"):
        if not message[header]:
            problems.append(f"no {header} header")

    body = message.get_body(preferencelist=("plain",))
    with open(body_file, "rb") as f:
        want_body = f.read().decode("utf-8").replace("\r\n", "\n")
    got_body = body.get_content().replace("\r\n", "\n") if body else None
    # A body that doesn't end its last line gets one end: mail lines end.
    if got_body is None or got_body.rstrip("\n") != want_body.rstrip("\n"):
        problems.append(f"body {got_body!r}, expected {want_body!r}")

    got = [(part.get_filename(), part.get_content()) for part in message.iter_attachments()]
    if [name for name, _ in got] != [name for name, _ in expected]:
        problems.append(f"attachments {[n for n, _ in got]}, expected {[n for n, _ in expected]}")
    for (name, content), (_, content_file) in zip(got, expected):
        with open(content_file, "rb") as f:
            want = f.read()
        if content != want:
            problems.append(f"attachment {name}: {len(content)} bytes differ from {len(want)}")

    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
