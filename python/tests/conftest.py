import sys
from pathlib import Path

# The package of this tree, unless PYTHONPATH or an installation comes first.
sys.path.append(str(Path(__file__).resolve().parents[1]))
