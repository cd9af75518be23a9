"""Draws docs/figures/block_life.svg: the calls and messages between host and module in a block's life."""

from xml.sax.saxutils import escape

WIDTH, LEFT, HOST, MODULE, RIGHT = 760, 20, 190, 570, 740
STEP = 30

# (kind, text): "call" host to module, "answer" back, "message" module to host, "note" between them, "part" begins a part.
LIFE = [
    ("part", "the module is loaded"),
    ("call", "SetInit (1, window, version)"),
    ("call", "GetInfo: how many types, names, offered?"),
    ("part", "a block is made"),
    ("call", "GetParameters (type, 0) or RestoreParameters (type, file)"),
    ("answer", "handle"),
    ("call", "lRemoteControl: keywords are read and set"),
    ("call", "GetInfo (4): connector text"),
    ("note", "the host wires the connectors"),
    ("part", "a run"),
    ("call", "InitSim (block)"),
    ("note", "data wait at an input: for every data block"),
    ("call", "Simulation (block, record)"),
    ("message", "1188, 1189: how many inputs, outputs"),
    ("message", "1134: a new data block of so many values"),
    ("message", "1143: copy the input's header into it"),
    ("note", "the block computes, puts its output into the record"),
    ("message", "1135: the input is done with"),
    ("answer", "0 or 1: a step done; 512: failed, the input waits on"),
    ("note", "512: lErrorShow tells the user why"),
    ("call", "Stoppen (block): buffers are freed"),
    ("part", "the end"),
    ("call", "SaveParameters (block, file)"),
    ("call", "DestroyBlock (block)"),
    ("call", "SetInit (3): the analysis library is unloaded"),
]

STYLE = """
.page { fill: #fff; } text { font: 13px sans-serif; fill: #222; } .who { font-weight: bold; }
.life { stroke: #999; stroke-dasharray: 4 4; } .call { stroke: #0072b2; fill: none; } .back { stroke: #666; fill: none; stroke-dasharray: 5 3; }
.message { stroke: #d55e00; fill: none; } .part { font-style: italic; } .rule { stroke: #ccc; } .note { fill: #f3f0e6; stroke: #cbbf93; }
.c { fill: #0072b2; } .b { fill: #666; } .m { fill: #d55e00; }
@media (prefers-color-scheme: dark) {
.page { fill: #16181d; } text { fill: #ddd; } .life { stroke: #777; } .rule { stroke: #444; } .note { fill: #2c2a20; stroke: #6b6340; }
.call { stroke: #56b4e9; } .c { fill: #56b4e9; } .message { stroke: #e69f00; } .m { fill: #e69f00; } .back { stroke: #aaa; } .b { fill: #aaa; } }
"""
LINES = {"call": ("call", "c"), "answer": ("back", "b"), "message": ("message", "m")}


def picture():
    height = 70 + STEP * len(LIFE)
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" width="{WIDTH}" height="{height}">',
             "<title>The life of a block: calls of the host, messages of the module</title>", f"<style>{STYLE}</style>",
             '<rect class="page" width="100%" height="100%"/>']
    for place, who in ((HOST, "host"), (MODULE, "module")):
        parts.append(f'<text class="who" x="{place}" y="24" text-anchor="middle">{who}</text>')
        parts.append(f'<line class="life" x1="{place}" y1="34" x2="{place}" y2="{height - 16}"/>')
    y = 50
    for kind, text in LIFE:
        words = escape(text)
        if kind == "part":
            parts.append(f'<line class="rule" x1="{LEFT}" y1="{y + 6}" x2="{RIGHT}" y2="{y + 6}"/>')
            parts.append(f'<text class="part" x="{LEFT}" y="{y + 1}">{words}</text>')
        elif kind == "note":
            parts.append(f'<rect class="note" x="{HOST + 20}" y="{y - 14}" width="{MODULE - HOST - 40}" height="21" rx="4"/>')
            parts.append(f'<text x="{(HOST + MODULE) // 2}" y="{y + 1}" text-anchor="middle">{words}</text>')
        else:
            line, head = LINES[kind]
            begin, end, way = (HOST, MODULE, -1) if kind == "call" else (MODULE, HOST, 1)
            parts.append(f'<line class="{line}" x1="{begin}" y1="{y + 6}" x2="{end + 6 * way}" y2="{y + 6}"/>')
            parts.append(f'<polygon class="{head}" points="{end},{y + 6} {end + 9 * way},{y + 2} {end + 9 * way},{y + 10}"/>')
            parts.append(f'<text x="{(HOST + MODULE) // 2}" y="{y + 1}" text-anchor="middle">{words}</text>')
        y += STEP
    return "\n".join([*parts, "</svg>", ""])
