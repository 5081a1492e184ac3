#!/usr/bin/env python3
"""A local disc database for the lookup tests, answering as the real services do:
MusicBrainz's /ws/2/discid/<id> (XML, 404 for an unknown disc) and a CDDB server's
cddb query / cddb read over HTTP (cmd=... in the query string). Prints "PORT PID" on its
first line and serves until it is killed. Usage: cd_lookup_server.py MB_DISC_ID CDDB_ID"""

import http.server
import os
import sys
import threading
import time
import urllib.parse

MB_ID = sys.argv[1] if len(sys.argv) > 1 else ""
CDDB_ID = sys.argv[2] if len(sys.argv) > 2 else ""

MB_ANSWER = """<?xml version="1.0" encoding="UTF-8"?>
<metadata xmlns="http://musicbrainz.org/ns/mmd-2.0#"><disc id="{id}"><sectors>317</sectors>
<release-list count="2">
<release id="rel-1"><title>Test Disc &amp; More</title><date>1999-04-01</date>
<artist-credit><name-credit><artist id="a1"><name>Test Band</name></artist></name-credit></artist-credit>
<medium-list count="2">
<medium><position>1</position><disc-list count="1"><disc id="other"/></disc-list>
<track-list count="1"><track id="x"><position>1</position><recording id="r0"><title>Wrong</title></recording></track></track-list></medium>
<medium><position>2</position><disc-list count="1"><disc id="{id}"/></disc-list>
<track-list count="3">
<track id="t1"><position>1</position><recording id="r1"><title>Opening</title></recording></track>
<track id="t2"><position>2</position><recording id="r2"><title>Middle</title>
<artist-credit><name-credit joinphrase=" feat. "><artist id="a2"><name>Guest</name></artist></name-credit><name-credit><artist id="a1"><name>Test Band</name></artist></name-credit></artist-credit></recording></track>
<track id="t3"><position>3</position><title>Closing (edit)</title><recording id="r3"><title>Closing</title></recording></track>
</track-list></medium></medium-list></release>
<release id="rel-2"><title>Test Disc (reissue)</title><date>2005</date>
<artist-credit><name-credit><artist id="a1"><name>Test Band</name></artist></name-credit></artist-credit>
<medium-list count="1"><medium><position>1</position><disc-list count="1"><disc id="{id}"/></disc-list>
<track-list count="3"><track id="u1"><position>1</position><recording id="r1"><title>Opening</title></recording></track>
<track id="u2"><position>2</position><recording id="r2"><title>Middle</title></recording></track>
<track id="u3"><position>3</position><recording id="r3"><title>Closing</title></recording></track>
</track-list></medium></medium-list></release>
</release-list></disc></metadata>
"""

CDDB_READ = """210 rock {id} CD database entry follows (until terminating `.')
# xmcd
#
# Track frame offsets:
#	150
#	230
#	280
#
# Disc length: 4 seconds
#
DISCID={id}
DTITLE=Test Band / Test Disc
DYEAR=1999
DGENRE=Rock
TTITLE0=Opening
TTITLE1=Middle of a very long title that the server
TTITLE1= continues on a second line
TTITLE2=Closing
EXTD=
.
"""


class Handler(http.server.BaseHTTPRequestHandler):
    def log_message(self, *args):
        pass

    def answer(self, code, text, kind="text/plain; charset=utf-8"):
        body = text.encode("utf-8")
        self.send_response(code)
        self.send_header("Content-Type", kind)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def do_GET(self):
        url = urllib.parse.urlparse(self.path)
        if url.path.startswith("/ws/2/discid/"):
            disc = url.path[len("/ws/2/discid/"):]
            if disc == MB_ID:
                return self.answer(200, MB_ANSWER.format(id=disc), "application/xml")
            return self.answer(404, '<?xml version="1.0"?><error><text>Not Found</text></error>')
        if url.path == "/cddb.cgi":
            words = urllib.parse.parse_qs(url.query).get("cmd", [""])[0].split()
            if words[:2] == ["cddb", "query"] and len(words) > 2:
                if words[2] == CDDB_ID:
                    return self.answer(200, "210 Found exact matches, list follows (until "
                                       "terminating `.')\nrock %s Test Band / Test Disc\n"
                                       "misc %s Test Band / Test Disc\n.\n" % (CDDB_ID, CDDB_ID))
                return self.answer(200, "202 No match for disc ID %s.\n" % words[2])
            if words[:2] == ["cddb", "read"] and len(words) == 4:
                if words[2] == "rock" and words[3] == CDDB_ID:
                    return self.answer(200, CDDB_READ.format(id=CDDB_ID))
                return self.answer(200, "401 %s %s No such CD entry in database.\n" % (words[2], words[3]))
            return self.answer(200, "500 Unrecognized command.\n")
        self.answer(404, "not found")


def watch_parent(parent):
    # Ends with the test that started it, even when the test dies without killing it.
    while os.getppid() == parent:
        time.sleep(0.2)
    os._exit(0)


threading.Thread(target=watch_parent, args=(os.getppid(),), daemon=True).start()
server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
server.daemon_threads = True
print(server.server_address[1], os.getpid(), flush=True)
server.serve_forever()
