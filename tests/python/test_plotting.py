"""Scans and what is known of light drawn with Matplotlib."""

import math
from collections.abc import Callable, Iterator
from typing import Any

import matplotlib as mpl
import numpy as np
import pytest
from vekwriter import Contents, DataSet

import vekanalysis as vek
from vekanalysis import LINEAR, Interpolation, Scan, colorimetry, lighting, plotting

mpl.use("agg")
import matplotlib.pyplot as plt

CURVE = Scan([400, 410, 420, 440, 450], [0, 1, 0, 1.5, 0])


@pytest.fixture(autouse=True)
def closed() -> Iterator[None]:
    yield
    plt.close("all")


def legend(axes: Any) -> list[str]:
    return [] if axes.get_legend() is None else [t.get_text() for t in axes.get_legend().texts]


def titles(axes: Any) -> tuple[str, str]:
    return axes.get_xlabel(), axes.get_ylabel()


def test_a_plot_shows_the_interpolant_and_the_points() -> None:
    points = Scan([400, 410], [1, 2], interpolation=Interpolation.NONE)
    many = Scan(range(300, 401), [1.0] * 101)
    scans = {
        "curve": CURVE,
        "points": points,
        "too few": Scan([400, 410], [1, 2]),
        "_one $x$": Scan([400], [1]),
        "100": Scan(range(300, 400), [1.0] * 100),
        "101": many,
        "101 points": Scan(*many.to_lists(), interpolation=Interpolation.NONE),
    }
    axes = vek.plot(scans, unit="V")
    drawn, *others = axes.get_lines()
    x, y = drawn.get_data()
    assert len(x) > 500
    assert np.diff(x).max() == pytest.approx(0.05)
    assert y.tolist() == [CURVE(wl) for wl in x]
    assert [x[index] for index in drawn.get_markevery()] == CURVE.wavelengths()
    styles = [(line.get_linestyle(), line.get_marker()) for line in (drawn, *others)]
    alone, joined = ("None", "."), ("-", ".")
    assert styles == [joined, alone, alone, joined, joined, ("-", "None"), alone]
    assert [list(line.get_data()[0]) for line in others[4:]] == [many.wavelengths()] * 2
    assert titles(axes) == ("wavelength in nm", "value in V")
    labels = ["curve", "points", "too few", r" _one \$x\$", "100", "101", "101 points"]
    assert legend(axes) == labels
    assert vek.plot(CURVE * 2, ax=axes, label="twice", color="k", luminosity=2.0) is axes
    assert titles(axes) == ("wavelength in nm", "value in V")
    assert legend(axes) == [*labels, "V(λ), scaled", "twice"]
    assert axes.get_lines()[-1].get_color() == "k"
    assert vek.plot(points, marker="x").get_lines()[0].get_marker() == "x"


def test_the_highest_peaks_are_marked_with_their_wavelengths() -> None:
    found = sorted(vek.utils.find_peaks(CURVE).items(), key=lambda point: point[1])
    for count in (1, 2, 3):
        axes = vek.plot([CURVE, Scan([400], [1])], peaks=count)
        assert axes.get_legend() is None
        marked = [text.xy for text in axes.texts]
        assert marked == found[-count:]
        assert [text.get_text() for text in axes.texts] == [f"{wl:.1f}" for wl, _ in marked]
        marks = [line for line in axes.lines if line.get_marker() == "|"]
        assert [line.get_xydata()[0].tolist() for line in marks] == [[*each] for each in marked]
        assert {line.get_color() for line in marks} == {axes.lines[0].get_color()}
    assert [*vek.plot(CURVE).texts] == []


def test_bands_and_luminosity_are_shaded_behind() -> None:
    for height, name in ((1.0, "V(λ)"), (2.0, "V(λ), scaled")):
        axes = vek.plot(CURVE, uv_bands=True, luminosity=height)
        spans = [(band.get_x(), band.get_x() + band.get_width()) for band in axes.patches]
        assert spans == [(280, 315), (315, 380)]
        assert legend(axes) == ["UV-B", "UV-A", name]
        ((shade,),) = [shaded.get_paths() for shaded in axes.collections]
        assert shade.vertices.min(0).tolist() == [380, 0]
        assert shade.vertices.max(0).tolist() == [780, height]
        assert axes.collections[0].get_zorder() < axes.lines[0].get_zorder()
    plain = vek.plot(CURVE)
    assert not plain.patches
    assert {line.get_visible() for line in plain.get_xgridlines()} == {True}


LENS = vek.Spectrum(Scan([400, 410, 420], [25, 50, 60]), "transmittance", "%", "lens 7")
X = "wavelength in nm"
TWO = "do not share an axis; draw them on two"


@pytest.mark.parametrize(
    ("plot", "y_title", "labels"),
    [
        (lambda: vek.plot(CURVE), "value", []),
        (lambda: vek.plot(CURVE, quantity="T", unit="1"), "T", []),
        (lambda: vek.plot(CURVE, quantity="U", unit="$V"), r"U in \$V", []),
        (lambda: vek.plot(CURVE, label="name"), "value", ["name"]),
        (lambda: vek.plot({1: CURVE, "b": CURVE}), "value", ["1", "b"]),
        (lambda: vek.plot(LENS), "transmittance in %", ["lens 7"]),
        (lambda: vek.plot(LENS, unit=""), "transmittance", ["lens 7"]),
        (lambda: vek.plot(LENS, quantity="T"), "T in %", ["lens 7"]),
        (lambda: vek.plot(LENS.to("1")), "transmittance", ["lens 7"]),
        (lambda: vek.plot([LENS, CURVE]), "transmittance in %", ["lens 7"]),
        (lambda: vek.plot({"a": LENS, "b": CURVE}), "transmittance in %", ["a", "b"]),
        (lambda: vek.plot([LENS, LENS], label=["a", "b"]), "transmittance in %", ["a", "b"]),
        (lambda: vek.plot(vek.Spectrum(CURVE, "other", "lx")), "value in lx", []),
        (lambda: vek.plot(vek.Spectrum(CURVE, "counts")), "counts", []),
        (lambda: vek.plot(vek.Spectrum(CURVE)), "value", []),
    ],
)
def test_axes_say_what_is_drawn(plot: Callable[[], Any], y_title: str, labels: list[str]) -> None:
    axes = plot()
    assert (titles(axes), legend(axes)) == ((X, y_title), labels)


@pytest.mark.parametrize(
    ("x_type", "x_title"), [(0, X), (1, "Time in s"), (5, "Position"), (4, "wavelength in µm")]
)
def test_a_measurement_file_names_its_own_axes(x_type: int, x_title: str) -> None:
    sets = [DataSet("_lens $x$", [(400, 1), (410, 2)]), DataSet("dark", [(400, 0), (410, 0)])]
    contents = Contents(data_sets=sets, x_type=x_type, x_axis_title="Position")
    file = vek.io.load_vekfile_binary_data(contents.file())
    axes = vek.plot(file)
    assert titles(axes) == (x_title, file.data_info.type_and_units.measurement_type)
    assert legend(axes) == [r" _lens \$x\$", "dark"]
    vek.plot(CURVE, ax=axes, quantity="", unit="V")
    assert titles(axes) == (x_title, " in V")
    axes.figure.canvas.draw()
    assert legend(vek.plot(file.data_sets[1])) == ["dark"]


@pytest.mark.parametrize(
    ("plot", "reason"),
    [
        (lambda: vek.plot([]), "plot needs at least one scan; got none"),
        (lambda: vek.plot({"a": Scan()}), "plot: scan 'a' has no points to draw"),
        (lambda: vek.plot(Scan()), "plot: scan has no points to draw"),
        (lambda: vek.plot([CURVE], label=["a", "b"]), "plot: 2 labels for 1 scans; each needs one"),
        (lambda: vek.plot("lens.csv"), "plot needs scans; got str"),
        (lambda: vek.plot(b"lens.csv"), "plot needs scans; got bytes"),
        (lambda: vek.plot(7), "plot needs scans; got int"),
        (lambda: vek.plot([1]), "plot needs scans; got int"),
        (
            lambda: vek.plot({"a": LENS, "b": LENS.to("1"), "c": vek.Spectrum(CURVE)}),
            f"plot: transmittance in % and transmittance in 1 {TWO}",
        ),
        (
            lambda: vek.plot([vek.Spectrum(CURVE, "counts"), vek.Spectrum(CURVE)]),
            f"plot: counts and unknown {TWO}",
        ),
    ],
)
def test_what_cannot_be_drawn_is_refused(plot: Callable[[], Any], reason: str) -> None:
    with pytest.raises((TypeError, ValueError)) as refused:
        plot()
    assert str(refused.value) == reason
    assert not plt.get_fignums()


def test_the_area_below_a_spectrum_has_the_colours_of_its_wavelengths() -> None:
    def filled(scan: Scan) -> Any:
        axes = plt.figure().add_subplot()
        plotting.draw_spectral_colours(axes, scan)
        return axes.collections

    rising = Scan([370, 790], [10.0, 430.0], interpolation=LINEAR)
    strips = filled(rising)
    assert len(strips) == 400
    for i, strip in enumerate(strips):
        corners = {(*corner,) for corner in strip.get_paths()[0].vertices.round(9)}
        low, high = 380.0 + i, 381.0 + i
        assert corners == {(low, 0.0), (low, low - 360), (high, high - 360), (high, 0.0)}
    # The chromaticities of 555 and 700 nm; the second is shown dark, by the sum of its values.
    white = colorimetry.CIEXYZ(1.0, 1.0, 1.0)
    xyz_555 = colorimetry.CIEXYZ(0.33736, 0.65885, 0.00379)
    dim = 0.3 + 0.7 * (0.011359 + 0.004102)
    xyz_700 = colorimetry.CIEXYZ(0.73469 * dim, 0.26531 * dim, 0.0)
    strips = filled(Scan([400.5, 760.5], [1.0, 1.0], interpolation=LINEAR))
    for at, xyz in ((555, xyz_555), (700, xyz_700)):
        found = strips[at - 401].get_facecolor()[0]
        colour = colorimetry.CIEXYZ_to_sRGB(xyz, white)
        assert found[:3] == pytest.approx([colour.red, colour.green, colour.blue], abs=2e-3)
    assert len(filled(Scan([500, 500.3], [1.0, 1.0], interpolation=LINEAR))) == 1


def test_chromaticities_stand_between_the_loci() -> None:
    axes = plt.figure().add_subplot()
    plotting.draw_chromaticities(axes, {"$L$": (0.21, 0.47), "_b": (0.3, 0.5)})
    spectrum, planckian, *points = [line.get_xydata() for line in axes.lines]
    # CIE 15, from the chromaticities of 400, 520 and 700 nm; it is closed by the line of purples.
    for index, x, y in ((0, 0.1733, 0.0048), (24, 0.0743, 0.8338), (60, 0.7347, 0.2653)):
        divisor = -2 * x + 12 * y + 3
        assert spectrum[index] == pytest.approx([4 * x / divisor, 9 * y / divisor], abs=3e-4)
    assert (len(spectrum), spectrum[61].tolist()) == (62, spectrum[0].tolist())
    # 100 000 K, 2 000 K and 1 111 K.
    for index, reciprocal in ((0, 10), (49, 500), (89, 900)):
        of = lighting.chromaticity(lighting.planckian(1e6 / reciprocal))
        assert planckian[index].tolist() == [of.u_prime, of.v_prime]
    assert planckian[49] == pytest.approx([0.3050, 0.5386], abs=1e-4)
    assert len(planckian) == 90
    assert [point.tolist() for point in points] == [[[0.21, 0.47]], [[0.3, 0.5]]]
    named = [(int(text.get_text()) - 400) // 5 for text in axes.texts]
    assert [text.xy for text in axes.texts] == [(*spectrum[index],) for index in named]
    assert [400 + 5 * i for i in named] == [460, 480, 500, 520, 560, 580, 600, 620]
    assert (titles(axes), axes.get_aspect()) == (("u'", "v'"), 1.0)
    assert legend(axes) == ["Planckian locus", r"\$L\$", " _b"]


@pytest.mark.parametrize("names", [["FL2"], ["FL2", "FL7"]])
def test_colour_vectors_show_the_shifts_of_all_bins(names: list[str]) -> None:
    fidelities = {name: lighting.colour_fidelity(lighting.reference(name)) for name in names}
    axes = plt.figure().add_subplot()
    plotting.draw_colour_vectors(axes, fidelities)
    circle, *rings = axes.lines
    angles = np.radians(np.arange(361.0))
    round_about = np.c_[np.cos(angles), np.sin(angles)]
    np.testing.assert_allclose(circle.get_xydata(), round_about, atol=1e-12)
    middles = np.radians(11.25 + 22.5 * np.arange(16))
    for ring, fidelity in zip(rings, fidelities.values(), strict=True):
        x, y = ring.get_xydata()[:16].T
        assert ring.get_xydata()[16].tolist() == [x[0], y[0]]
        outwards = x * np.cos(middles) + y * np.sin(middles)
        around = y * np.cos(middles) - x * np.sin(middles)
        np.testing.assert_allclose(100 * (outwards - 1), [each.Rcs for each in fidelity.bins])
        np.testing.assert_allclose(around, [each.Rhs for each in fidelity.bins], atol=1e-12)
    numbers = [text for text in axes.texts if text.get_text()]
    arrows = [text for text in axes.texts if not text.get_text()]
    assert [text.get_text() for text in numbers] == [f"{i}" for i in range(1, 17)]
    places = np.array([text.xy for text in numbers])
    np.testing.assert_allclose(np.arctan2(*places.T[::-1]) % (2 * math.pi), middles)
    assert (axes.get_xlim(), axes.get_ylim(), axes.get_aspect()) == ((-1.5, 1.5), (-1.5, 1.5), 1.0)
    assert not axes.axison
    if len(names) == 2:
        assert (arrows, axes.get_title(), legend(axes)) == ([], "", names)
        return
    (only,) = fidelities.values()
    assert (axes.get_title(), legend(axes)) == (f"Rf {only.Rf:.0f}, Rg {only.Rg:.0f}", [])
    ends = np.array([arrow.xy for arrow in arrows])
    np.testing.assert_allclose(ends, rings[0].get_xydata()[:16])
    starts = np.array([arrow.xyann for arrow in arrows])
    np.testing.assert_allclose(starts, np.c_[np.cos(middles), np.sin(middles)])
    assert all(arrow.arrow_patch.shrinkA == arrow.arrow_patch.shrinkB == 0 for arrow in arrows)
