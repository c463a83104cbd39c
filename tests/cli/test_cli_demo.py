"""The demo in a reduced size: every example runs, streaming equals one-shot, the PNG is written,
and the batch of catalogue alphas evaluates every alpha."""
import json
from pathlib import Path

EXAMPLES = Path(__file__).parents[2] / "examples"
PNG_SIGNATURE = b"\x89PNG\r\n\x1a\n"


def test_reduced_demo(quillmarsh, tmp_path):
    completed = quillmarsh("demo", "--days", 120, "--assets", 30, "--stream-days", 15,
                           "--long-rows", 400, "--long-assets", 5,
                           "--examples", EXAMPLES, "--out", tmp_path / "out", check=True)
    names = [entry["name"] for entry in json.loads((EXAMPLES / "catalogue.json").read_text())["examples"]]
    table = {line[:20].strip(): line[20:].split() for line in completed.stdout.splitlines()}
    assert all(name in table for name in names) and table["bare feature"][0] == "leaf"
    assert "streaming: 15 daily chunks with states" in completed.stdout
    assert "equal the one-shot evaluation: yes" in completed.stdout
    assert "101 of 101 alphas evaluated" in completed.stdout
    assert len((tmp_path / "out" / "alpha101_summary.csv").read_text().splitlines()) == 102
    assert "streaming 'rolling chain' day by day" in completed.stderr
    assert (tmp_path / "out" / "demo_pnl.png").read_bytes()[:8] == PNG_SIGNATURE
