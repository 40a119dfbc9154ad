"""The two databases of docs/fleet.md, each with the commands of the page.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import os
import pathlib
import socket
import subprocess
import time

import queries


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


class Sqlite:
    """A database in a file of the folder, where rows.ndjson is, too."""

    name = "sqlite3"

    def __init__(self, folder):
        self._folder = folder

    def load(self):
        subprocess.run(["bash", "-ec", queries.loading("sqlite3")], cwd=self._folder, check=True)
        for view in queries.views(self.name):
            self._ask(view)

    def _ask(self, statement):
        done = subprocess.run(["sqlite3", "-json", "fleet.db", statement], cwd=self._folder, capture_output=True, text=True, check=False)
        if done.returncode != 0 or done.stderr:
            raise RuntimeError(f"{statement}\n{done.stderr}")
        return json.loads(done.stdout or "[]")

    def query(self, section):
        return self._ask(queries.query(section, self.name))

    def size(self):
        """Without pages that wait to be used again."""
        return self._ask("SELECT (page_count - freelist_count) * page_size AS size FROM pragma_page_count, pragma_freelist_count, pragma_page_size")[0]["size"]

    def stop(self):
        """Nothing runs."""


class ClickHouse:
    """A server of its own, from a folder that Debian's packages were unpacked in."""

    name = "ClickHouse"
    _CONFIGURATION = """<yandex>
  <logger><level>warning</level><log>server.log</log><errorlog>error.log</errorlog></logger>
  <listen_host>127.0.0.1</listen_host>
  <tcp_port>{tcp}</tcp_port><http_port>{http}</http_port><interserver_http_port>{other}</interserver_http_port>
  <path>data/</path><tmp_path>tmp/</tmp_path><user_files_path>files/</user_files_path>
  <users_config>users.xml</users_config><default_profile>default</default_profile><default_database>default</default_database>
  <mark_cache_size>100000000</mark_cache_size>
</yandex>
"""
    _USERS = """<yandex><profiles><default/></profiles><quotas><default/></quotas>
<users><default><password/><networks><ip>127.0.0.1</ip></networks><profile>default</profile><quota>default</quota></default></users>
</yandex>
"""
    _CLIENT = """#!/bin/sh
exec "{program}" --host 127.0.0.1 --port {port} "$@"
"""

    def __init__(self, folder, root):
        self._folder, self._root = folder, pathlib.Path(root)
        ports = {name: free_port() for name in ("tcp", "http", "other")}
        (folder / "config.xml").write_text(self._CONFIGURATION.format(**ports), encoding="utf-8")
        (folder / "users.xml").write_text(self._USERS, encoding="utf-8")
        # The page's commands find the client under its own name, and that finds this server.
        client = folder / "bin" / "clickhouse-client"
        client.parent.mkdir()
        client.write_text(self._CLIENT.format(program=self._root / "usr/bin/clickhouse-client", port=ports["tcp"]), encoding="utf-8")
        client.chmod(0o755)
        libraries = self._root / "usr/lib/x86_64-linux-gnu"
        self._environment = {**os.environ, "LD_LIBRARY_PATH": str(libraries), "PATH": f"{client.parent}:{os.environ['PATH']}"}
        with open(folder / "server.out", "wb") as output:
            self._server = subprocess.Popen([self._root / "usr/sbin/clickhouse-server", "--config-file=config.xml"], cwd=folder,
                                            env=self._environment, stdout=output, stderr=output)
        self._wait()

    def _wait(self):
        for _ in range(120):
            if self._server.poll() is not None:
                break
            if self._client("SELECT 1", check=False).returncode == 0:
                return
            time.sleep(0.5)
        self.stop()
        raise RuntimeError("the server does not start:\n" + (self._folder / "server.out").read_text(errors="replace"))

    def _client(self, statement, check=True):
        done = subprocess.run(["clickhouse-client", "--query", statement], env=self._environment, capture_output=True, text=True, check=False)
        if check and done.returncode != 0:
            raise RuntimeError(f"{statement}\n{done.stderr}")
        return done

    def load(self):
        subprocess.run(["bash", "-ec", queries.loading("clickhouse-client")], cwd=self._folder, env=self._environment, check=True)
        for view in queries.views(self.name):
            self._client(view)

    def query(self, section):
        text = self._client(queries.query(section, self.name) + " FORMAT JSONEachRow").stdout
        return [json.loads(line) for line in text.splitlines()]

    def size(self):
        return int(self._client("SELECT SUM(bytes_on_disk) FROM system.parts WHERE table = 'devices' AND active").stdout)

    def stop(self):
        self._server.terminate()
        try:
            self._server.wait(timeout=60)
        except subprocess.TimeoutExpired:
            self._server.kill()
            self._server.wait()
